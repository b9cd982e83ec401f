#include "SERVICES/Library/LIBStore/StorePaths.h"

#include <utility>

#include "PROVIDERS/Library/LIBOption/OptionProvider.h"
#include "connector/settings/ConnectorSettings.h"
#include "connector/settings/Settings.h"

namespace corvane {
namespace {

thread_local const HeldPostofficeRoot* heldRoot = nullptr;

}  // namespace

HeldPostofficeRoot::HeldPostofficeRoot(std::string postoffice, std::string root)
    : postoffice_(std::move(postoffice)), root_(std::move(root)), outer_(heldRoot) {
  heldRoot = this;
}

HeldPostofficeRoot::~HeldPostofficeRoot() { heldRoot = outer_; }

std::string GetPostofficeRoot(const std::string& postoffice) {
  for (const HeldPostofficeRoot* held = heldRoot; held != nullptr; held = held->outer_) {
    if (held->postoffice_ == postoffice) return held->root_;
  }
  if (settings::Get(settings::kAllowCustomPostofficePaths) == 1) {
    char custom[1024] = {};
    GetPostofficeOption(postoffice.c_str(), "PostofficeRoot", custom, sizeof(custom));
    if (custom[0] != '\0') return custom;
  }
  std::string root = settings::MailRoot();
  root.append("\\").append(postoffice);
  return root;
}

}  // namespace corvane
