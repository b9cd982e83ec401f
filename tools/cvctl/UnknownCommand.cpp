#include "cvctl/UnknownCommand.h"

#include "cvctl/Command.h"

namespace corvane::cvctl {
namespace {

const std::function<bool(const CLI::App*)> kEvery = [](const CLI::App* app) {
  return !app->get_name().empty();  // a group of options is an application without a name
};

std::vector<const CLI::App*> Commands(const CLI::App& app) { return app.get_subcommands(kEvery); }

std::string Names(const CLI::App& app) {
  std::string names;
  for (const CLI::App* command : Commands(app)) {
    names += (names.empty() ? "" : ", ") + command->get_name();
  }
  return names;
}

}  // namespace

void ExpectKnownCommand(CLI::App& app, const std::vector<std::string>& words) {
  const CLI::App* place = &app;
  std::string path = app.get_name();
  for (const std::string& word : words) {
    const auto commands = Commands(*place);
    if (commands.empty() || word == "-h" || word == "--help") return;
    const auto known = std::find_if(commands.begin(), commands.end(), [&](const CLI::App* command) {
      return command->get_name() == word;
    });
    if (known == commands.end()) {
      throw Failure(kUsage, "there is no command '" + path + " " + word + "': give one of " +
                                Names(*place) + ", or see '" + path + " --help'");
    }
    place = *known;
    path += " " + word;
  }
  if (Commands(*place).empty()) return;
  throw Failure(kUsage, "'" + path + "' needs a command: give one of " + Names(*place) +
                            ", or see '" + path + " --help'");
}

}  // namespace corvane::cvctl
