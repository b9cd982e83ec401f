#include "cvctl/MessageCommands.h"

#include <memory>

#include "cvctl/Command.h"
#include "cvctl/MessageView.h"
#include "platform/FileSystem.h"

namespace corvane::cvctl {
namespace {

struct ShowArguments {
  std::string file;
  bool json = false;
};

MimeMessage Read(const std::string& file) {
  if (platform::DirectoryExists(file)) {
    throw Failure(kUsage, "'" + file + "' is a directory; name a message file in it");
  }
  MimeMessage message;
  if (message.Load(file, true, true, false)) return message;
  if (platform::FileExists(file)) {
    throw Failure(kTrouble, "can't read '" + file + "'; check its rights");
  }
  throw Failure(kNotFound, "no file '" + file + "'; check the path");
}

void Show(const ShowArguments& arguments) {
  MimeMessage message = Read(arguments.file);
  if (arguments.json) {
    PrintMessageJson(message);
  } else if (message.HasText()) {
    PrintMessagePlain(message);
  } else {
    throw Failure(kUsage, "'" + arguments.file + "' is empty; a message begins with its headers");
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
