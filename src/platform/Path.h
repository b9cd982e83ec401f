// Path.h -- product paths: bytes with '\' or '/' between names, compared without regard to case.
//
// SystemPath is the one place where a product path becomes a path of the operating system.
// Everything in this layer that takes a path takes a product path and calls it.
//
// A name is found in any case. The exact spelling is tried first and costs nothing extra. On a
// miss:
//   - a system file (_CHANGE.DTY, _index.xml, _<n>.NEW ...) has one spelling on disk, in a table;
//     one that another system left in the other case (_change.dty) is met too;
//   - a message file (*.MAI in any case) and a request marker (*.upd) are exact and never searched
//     for;
//   - any other name is looked for among the names of its directory. The listing is kept, without
//     its message files, until the directory changes; a spelling once found is remembered and only
//     checked. Names that the product gives to directories and to files that don't lie among
//     messages (RULES, FILTER.TAB, AUTORESPOND.CFG ...) are looked for in this way too, and made
//     as the table spells them.
// So a look-up costs the same in a folder of ten messages and of a hundred thousand.
#pragma once

#include <string>
#include <string_view>

namespace corvane::platform {

// `path` with '/' for every separator, doubled separators as one, no separator at the end (but for
// "/" itself). The spelling of names stays. A leading "X:" (drive letter) stays as a name. An empty
// path stays empty.
[[nodiscard]] std::string SystemPath(std::string_view path);

// SystemPath(path) with each name in the spelling that it has on disk, as far as the names exist; a
// last name that doesn't exist gets its table spelling, or stays. A path whose exact spelling
// exists is answered after one look.
[[nodiscard]] std::string ResolvePath(std::string_view path);

// SystemPath(path), with the current directory before it unless it begins at the root.
[[nodiscard]] std::string AbsolutePath(std::string_view path);

// `directory` + '\' + `name`, with no second separator where one of them brings it.
[[nodiscard]] std::string JoinPath(std::string_view directory, std::string_view name);

// The part before the last separator, empty when there is none; and the part behind it.
[[nodiscard]] std::string_view ParentPath(std::string_view path);
[[nodiscard]] std::string_view FileName(std::string_view path);

// Whether two names are equal without regard to the case of ASCII letters.
[[nodiscard]] bool EqualsNoCase(std::string_view a, std::string_view b);

// Whether `name` matches `pattern`, where '*' is any run of bytes and '?' any byte, without regard
// to case.
[[nodiscard]] bool MatchesPattern(std::string_view name, std::string_view pattern);

// Whether `name` can be one name of a path that is made from outside words: not empty, not "." or
// "..", at most 255 bytes, without a separator, a NUL or another control character, and without
// blanks or points at its end that the product's own naming would drop.
[[nodiscard]] bool IsSafeName(std::string_view name);

}  // namespace corvane::platform
