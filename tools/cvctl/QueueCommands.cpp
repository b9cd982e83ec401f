// QueueCommands.cpp -- cvctl queue: puts messages into the outbound queue and looks after those in
// the queues.
#include "cvctl/QueueCommands.h"

#include <memory>

#include "connector/queue/QueuePaths.h"
#include "cvctl/Command.h"
#include "cvctl/Installation.h"
#include "cvctl/QueueOptions.h"
#include "platform/FileSystem.h"
#include "platform/Path.h"

namespace corvane::cvctl {
namespace {

constexpr std::string_view kEnding = ".MAI";

using OptionsPointer = std::shared_ptr<QueueOptions>;

CLI::App* AddQueueCommand(CLI::App* queue, const OptionsPointer& options, const char* name,
                          const char* meaning, void (*body)(const QueueOptions&)) {
  CLI::App* command = queue->add_subcommand(name, meaning);
  AddJsonFlag(command, &options->json);
  command->callback([options, body] { body(*options); });
  return command;
}

void AddNames(CLI::App* command, QueueOptions& options) {
  command->add_option("NAME", options.names, "names of queued messages");
  command->add_flag("--all", options.all, "every message of the queue");
}

void AddInbound(CLI::App* command, QueueOptions& options) {
  command->add_flag("--inbound", options.inbound, "the inbound queue instead of the outbound one");
}

}  // namespace

std::string QueueOptions::Directory() const {
  return inbound ? ConnectorDirectory(kQueueConnector) + "\\Inbound"
                 : OutgoingDirectory(kQueueConnector);
}

void ExpectQueue(const QueueOptions& options) {
  LoadInstallation();
  if (platform::DirectoryExists(options.Directory())) return;
  throw Failure(kNotFound,
                "the queue " + platform::SystemPath(options.Directory()) +
                    " isn't there; make the directory, or mend 'Connector Root Directory' with "
                    "'cvctl settings set'");
}

std::vector<std::string> QueuedNames(const QueueOptions& options) {
  std::vector<std::string> names;
  platform::FileFinder files(options.Directory() + "\\*.MAI");
  while (const auto file = files.Next(false)) names.push_back(file->name);
  return names;
}

const std::string& CheckedQueueName(const std::string& name) {
  const bool ends =
      name.size() > kEnding.size() &&
      platform::EqualsNoCase(std::string_view(name).substr(name.size() - kEnding.size()), kEnding);
  if (ends && platform::IsSafeName(name)) return name;
  throw Failure(kUsage, "'" + name +
                            "' is no name of a queued message: give one of 'cvctl queue list', "
                            "such as 0123456789ABCDEF0123456789ABCDEF.MAI");
}

void AddQueueCommands(CLI::App& app) {
  const auto options = std::make_shared<QueueOptions>();
  CLI::App* queue = app.add_subcommand("queue", "the queues: submit, list, show, reset, remove");
  queue->require_subcommand(1);

  CLI::App* submit = AddQueueCommand(queue, options, "submit",
                                     "put a message into the outbound queue", SubmitMessage);
  submit->add_option("FILE", options->file, "the message, or - for standard input")->required();
  submit->add_option("--from", options->from, "envelope sender; empty for a bounce")->required();
  submit->add_option("--to", options->to, "recipients: POSTOFFICE/MAILBOX or [SF:...]")->required();

  CLI::App* list = AddQueueCommand(queue, options, "list", "the messages of a queue", ListQueue);
  AddInbound(list, *options);

  CLI::App* show =
      AddQueueCommand(queue, options, "show", "what the queue says of one message", ShowQueued);
  show->add_option("NAME", options->names, "name of a queued message")->required()->expected(1);
  AddInbound(show, *options);

  CLI::App* reset =
      AddQueueCommand(queue, options, "reset",
                      "make messages due now: Unsent, or Undelivered when inbound", ResetQueued);
  AddNames(reset, *options);
  AddInbound(reset, *options);

  CLI::App* remove =
      AddQueueCommand(queue, options, "remove", "delete messages from a queue", RemoveQueued);
  AddNames(remove, *options);
  AddInbound(remove, *options);
}

}  // namespace corvane::cvctl
