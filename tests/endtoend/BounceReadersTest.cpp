// Bounces and notices as another mail program reads them.
#include <gtest/gtest.h>

#include <filesystem>
#include <string>

#include "tests/endtoend/Installation.h"

namespace corvane {
namespace {

namespace fs = std::filesystem;
using test::CommandFor;
using test::Installation;
using test::NameOf;

// Prints what Python's mail parser makes of a file: defects, headers, then each part.
constexpr const char* kReader = R"(
import email, email.policy, sys
with open(sys.argv[1], 'rb') as f:
    m = email.message_from_binary_file(f, policy=email.policy.default)
print('defects', [type(d).__name__ for p in m.walk() for d in p.defects])
for name in ('From', 'To', 'Subject', 'Precedence', 'Auto-Submitted'):
    print(name, m[name])
print('dated', m['Date'].datetime is not None)
print('id', m['Message-ID'].endswith('@house.example>'))
for p in m.walk():
    print('part', p.get_content_type())
    if not p.is_multipart():
        print(p.get_content())
)";

std::string Read(const std::string& path) {
  const auto result = test::RunProgram({"/usr/bin/python3", "-c", kReader, path});
  EXPECT_EQ(result.exitCode, 0) << result.errors;
  return result.output;
}

TEST(BounceReadersTest, BounceAndNotice) {
  if (!fs::exists("/usr/bin/python3")) GTEST_SKIP() << "no Python here";
  const Installation installation;
  installation.AddMailboxes("box", 1);
  const std::string smtp = "CONNECTORS\\SMTP";
  installation.Set(smtp, "Bad Mail Notification Sender Address", "post@house.example");
  installation.Set(smtp, "Local Domain Name", "house.example");
  installation.Set(smtp, "DSN Status", "1");
  const std::string message =
      "From: a@b.example\r\nSubject: =?utf-8?q?gr=C3=BC=C3=9Fe?=\r\n\r\nhi\r\n";
  installation.PutRaw(NameOf(1), CommandFor(NameOf(1), "[SF:acme/nobody]"), message);
  installation.PutRaw(NameOf(2), "DSNFlags=SUCCESS\r\n" + CommandFor(NameOf(2), "[SF:acme/box0]"),
                      message);
  installation.RunUntilEmpty();
  int bounces = 0;
  int notices = 0;
  for (const auto& entry :
       fs::directory_iterator(installation.Path("connectors/SF/Inbound/Messages"))) {
    const std::string read = Read(entry.path());
    EXPECT_NE(read.find("defects []\nFrom post@house.example\nTo sender@example.com\n"),
              std::string::npos)
        << read;
    EXPECT_NE(read.find("dated True\nid True\n"), std::string::npos) << read;
    if (read.find("Subject Message Delivery Failure\n") != std::string::npos) {
      ++bounces;
      EXPECT_NE(read.find("Auto-Submitted auto-replied\n"), std::string::npos);
      EXPECT_NE(read.find("part text/plain\n"), std::string::npos);
      EXPECT_NE(read.find("\t[SF:acme/nobody]\n\nMessage contents follow:\n\nFrom: a@b.example\n"),
                std::string::npos)
          << read;
    } else if (read.find("Subject Delivery Success: gr\u00fc\u00dfe\n") != std::string::npos) {
      ++notices;
      EXPECT_NE(read.find("part multipart/report\npart text/plain\n"), std::string::npos) << read;
      EXPECT_NE(read.find("The message you sent to acme/box0 was successfully delivered.\n"),
                std::string::npos)
          << read;
    }
  }
  EXPECT_EQ(bounces, 1);
  EXPECT_EQ(notices, 1);
}

}  // namespace
}  // namespace corvane
