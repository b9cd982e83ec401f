#include "cvctl/MessageCommands.h"

#include <memory>

#include "cvctl/Command.h"
#include "cvctl/MessageView.h"

namespace corvane::cvctl {
namespace {

struct ShowArguments {
  std::string file;
  bool json = false;
};

void Show(const ShowArguments& arguments) {
  MimeMessage message;
  if (!message.Load(arguments.file, true, true, false)) {
    throw Failure(kNotFound, "can't read '" + arguments.file + "'; check the path and its rights");
  }
  if (arguments.json) {
    PrintMessageJson(message);
  } else {
    PrintMessagePlain(message);
  }
}

}  // namespace

void AddMessageCommands(CLI::App& app) {
  CLI::App* family = app.add_subcommand("message", "look into message files");
  family->require_subcommand(1);
  CLI::App* show = family->add_subcommand("show", "headers, parts and text of a message file");
  auto arguments = std::make_shared<ShowArguments>();
  show->add_option("file", arguments->file, "the message file")->required();
  AddJsonFlag(show, &arguments->json);
  show->callback([arguments] { Show(*arguments); });
}

}  // namespace corvane::cvctl
