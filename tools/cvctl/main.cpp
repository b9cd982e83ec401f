// main.cpp -- cvctl, the administrator's tool: builds the command line and ends with the exit code
// of the command.
#include <algorithm>
#include <cstdio>
#include <exception>
#include <string>
#include <utility>
#include <vector>

#include "cvctl/BracketGuard.h"
#include "cvctl/Command.h"
#include "cvctl/ConfigurationCommands.h"
#include "cvctl/IndexCommands.h"
#include "cvctl/MessageCommands.h"
#include "cvctl/Printing.h"
#include "cvctl/QueueCommands.h"
#include "cvctl/SettingsCommands.h"
#include "cvctl/UnknownCommand.h"
#include "cvctl/WatchCommand.h"
#include "platform/Reports.h"

namespace corvane::cvctl {

void PrintJson(const nlohmann::ordered_json& document) {
  std::string text = document.dump(2, ' ', false, nlohmann::ordered_json::error_handler_t::replace);
  std::printf("%s\n", text.c_str());
}

void PrintJsonLine(const nlohmann::ordered_json& document) {
  const std::string text =
      document.dump(-1, ' ', false, nlohmann::ordered_json::error_handler_t::replace);
  std::printf("%s\n", text.c_str());
}

namespace {

int Fail(int code, const std::string& message) {
  if (!message.empty()) std::fprintf(stderr, "cvctl: %s\n", Shown(message).c_str());
  return code;
}

// " queue submit": what the parser got to.
std::string SubcommandPath(const CLI::App& app) {
  for (const CLI::App* command : app.get_subcommands()) {
    if (!command->get_name().empty()) return " " + command->get_name() + SubcommandPath(*command);
  }
  return "";
}

int Run(int argc, char** argv) {
  CLI::App app{"The administrator's tool of the Corvane Postoffice Connector", "cvctl"};
  app.require_subcommand(1);
  AddInitCommand(app);
  AddPostofficeCommands(app);
  AddMailboxCommands(app);
  AddGroupCommands(app);
  AddDomainCommands(app);
  AddOptionCommands(app);
  AddMessageCommands(app);
  AddIndexCommands(app);
  AddQueueCommands(app);
  AddSettingsCommands(app);
  AddWatchCommand(app);
  try {
    // The parser takes the words of a vector from the end.
    std::vector<std::string> words = GuardedWords(argc, argv);
    ExpectKnownCommand(app, words);
    std::reverse(words.begin(), words.end());
    app.parse(std::move(words));
  } catch (const CLI::CallForHelp& help) {
    return app.exit(help);
  } catch (const CLI::CallForAllHelp& help) {
    return app.exit(help);
  } catch (const CLI::ParseError& error) {
    std::string why = error.what();
    std::erase(why, kBracketGuard);
    return Fail(kUsage, why + "; see " + app.get_name() + SubcommandPath(app) + " --help");
  } catch (const Failure& failure) {
    return Fail(failure.Code(), failure.what());
  }
  // An answer that went to a full disk was not given.
  if (std::fflush(stdout) != 0 || std::ferror(stdout) != 0) {
    return Fail(kTrouble, "the answer could not be written; is the disk of the output full?");
  }
  return kDone;
}

}  // namespace
}  // namespace corvane::cvctl

int main(int argc, char** argv) {
  // What the connector's own parts say on the way is no part of an answer, nor of its one error.
  corvane::platform::SilenceConsole();
  try {
    return corvane::cvctl::Run(argc, argv);
  } catch (const std::exception& error) {
    std::fprintf(stderr, "cvctl: %s; try again, and report it if it stays\n",
                 corvane::cvctl::Shown(error.what()).c_str());
    return corvane::cvctl::kTrouble;
  }
}
