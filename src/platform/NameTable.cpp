#include "platform/NameTable.h"

#include <algorithm>
#include <iterator>

#include "platform/Path.h"

namespace corvane::platform::names {
namespace {

// In the order of the folded names.
constexpr Row kTable[] = {
    {"_activity.blk", "_activity.blk"},
    {"_activity.tab", "_activity.tab"},
    {"_activity.tmp", "_activity.tmp"},
    {"_cache.dty", "_CACHE.DTY"},
    {"_change.dty", "_CHANGE.DTY"},
    {"_dirsize.tmp", "_DIRSIZE.TMP"},
    {"_folder.dat", "_FOLDER.DAT"},
    {"_folder.dty", "_FOLDER.DTY"},
    {"_groups.bin", "_groups.bin"},
    {"_groups.xml", "_groups.xml"},
    {"_index.bin", "_index.bin"},
    {"_index.blk", "_index.blk"},
    {"_index.dat", "_index.dat"},
    {"_index.xml", "_index.xml"},
    {"_index.xml.bad", "_index.xml.bad"},
    {"_index.xml.bak", "_index.xml.bak"},
    {"_notify.nfy", "_NOTIFY.NFY"},
    {"_purge.dat", "_purge.dat"},
    {"_srchidx.blk", "_srchidx.blk"},
    {"_srchidx.upd", "_srchidx.upd"},
    {"actions", "ACTIONS"},
    {"annotations", "Annotations"},
    {"autorespond.cfg", "AUTORESPOND.CFG"},
    {"autorespond.lst", "AUTORESPOND.LST"},
    {"connections", "Connections"},
    {"criteria", "CRITERIA"},
    {"fileroot", "FILEROOT"},
    {"filter.tab", "FILTER.TAB"},
    {"filters", "Filters"},
    {"inbound", "Inbound"},
    {"inbox", "Inbox"},
    {"indexroot", "INDEXROOT"},
    {"junk e-mail", "Junk E-mail"},
    {"mailboxes", "Mailboxes"},
    {"mailboxsearchindexing", "MailboxSearchIndexing"},
    {"mailroot", "MAILROOT"},
    {"messages", "Messages"},
    {"messages.xml", "Messages.xml"},
    {"outgoing", "Outgoing"},
    {"patterns", "PATTERNS"},
    {"postoffices", "Postoffices"},
    {"pubroot", "PUBROOT"},
    {"rules", "RULES"},
    {"senders", "Senders"},
    {"sf", "SF"},
    {"sf-ou.act", "SF-OU.ACT"},
    {"sf-ou.blk", "SF-OU.BLK"},
    {"templates", "Templates"},
    {"vcfroot", "VCFROOT"},
    {"whitelist", "Whitelist"},
};

bool EndsWith(std::string_view name, std::string_view ending) {
  return name.size() >= ending.size() &&
         EqualsNoCase(name.substr(name.size() - ending.size()), ending);
}

// _<digits>.NEW, the new-message marker.
bool IsMarker(std::string_view name) {
  constexpr std::size_t kEnding = 4;
  if (name.size() < kEnding + 2 || name[0] != '_' || !EndsWith(name, ".NEW")) return false;
  const std::string_view digits = name.substr(1, name.size() - 1 - kEnding);
  return digits.find_first_not_of("0123456789") == std::string_view::npos;
}

}  // namespace

const Row* TableBegin() { return std::begin(kTable); }
const Row* TableEnd() { return std::end(kTable); }

std::string Folded(std::string_view name) {
  std::string folded(name);
  for (char& c : folded) c = FoldedByte(c);
  return folded;
}

std::string OtherCase(std::string_view spelling) {
  std::string other = Folded(spelling);
  if (other != spelling) return other;
  for (char& c : other) c = c >= 'a' && c <= 'z' ? static_cast<char>(c - 'a' + 'A') : c;
  return other;
}

bool IsMessage(std::string_view name) { return EndsWith(name, ".MAI"); }

Rule RuleFor(std::string_view name) {
  if (IsMessage(name)) return {Kind::kExact, std::nullopt};
  if (IsMarker(name)) {
    return {Kind::kTable, std::string(name.substr(0, name.size() - 4)) + ".NEW"};
  }
  const std::string folded = Folded(name);
  const Row* row = std::lower_bound(TableBegin(), TableEnd(), std::string_view(folded),
                                    [](const Row& a, std::string_view b) { return a.folded < b; });
  if (row != TableEnd() && row->folded == folded) {
    return {name[0] == '_' ? Kind::kTable : Kind::kSearched, std::string(row->spelling)};
  }
  if (EndsWith(name, ".UPD")) return {Kind::kExact, std::nullopt};
  return {};
}

}  // namespace corvane::platform::names
