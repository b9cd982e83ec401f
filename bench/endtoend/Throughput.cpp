// Throughput.cpp -- what the whole connector delivers, beside a bare loop that does the same file
// operations.
//
// usage: throughput CONNECTOR CVCTL [--messages N] [--mailboxes N] [--rounds N] [--directory DIR]
// [--strace]
//
// Makes an installation, fills its queue with N messages to the mailboxes in turn, runs the
// connector with all pacing settings at 0 until the queue is empty, and prints messages a second,
// CPU seconds for 1,000 messages and peak memory, with `Delivery Durability` 1 and 0. The floor is
// a loop of ten threads: read the message, write it into the mailbox, sync file and directory,
// delete the source. Rounds of both are interleaved; medians are printed. Messages are those of
// CORVANE_CORPUS (default ../shared/corpus beside the source), else made here; the output says
// which.
//
// The rate is taken between the first and the last change that the file system notes on the
// delivered files, so that start-up and the wait before the first sweep don't count.
#include <dirent.h>
#include <fcntl.h>
#include <sys/resource.h>
#include <sys/stat.h>
#include <sys/wait.h>
#include <unistd.h>

#include <algorithm>
#include <array>
#include <atomic>
#include <chrono>
#include <csignal>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <stdexcept>
#include <string>
#include <thread>
#include <vector>

namespace {

namespace fs = std::filesystem;

struct Options {
  std::string connector;
  std::string cvctl;
  int messages = 2000;
  int mailboxes = 50;
  int rounds = 3;
  bool strace = false;
  fs::path directory = fs::temp_directory_path();
};

struct Result {
  double perSecond = 0;
  double cpuPerThousand = 0;
  double callsPerMessage = 0;
  long peakKb = 0;
};

std::string ReadFile(const fs::path& path) {
  std::ifstream stream(path, std::ios::binary);
  return {std::istreambuf_iterator<char>(stream), std::istreambuf_iterator<char>()};
}

void WriteFile(const fs::path& path, const std::string& bytes) {
  std::ofstream stream(path, std::ios::binary);
  stream.write(bytes.data(), static_cast<std::streamsize>(bytes.size()));
}

std::vector<std::string> LoadMessages() {
  const char* named = std::getenv("CORVANE_CORPUS");
  const fs::path corpus = named != nullptr ? named : CORVANE_SOURCE_DIR "/../shared/corpus";
  std::vector<std::string> messages;
  if (fs::is_directory(corpus / "messages")) {
    for (const auto& entry : fs::directory_iterator(corpus / "messages")) {
      messages.push_back(ReadFile(entry.path()));
    }
    std::sort(messages.begin(), messages.end());
    std::printf("messages: %zu real ones, in turn\n", messages.size());
  } else {
    for (int i = 0; i < 200; ++i) {
      messages.push_back("From: a@example.com\r\nSubject: made here\r\n\r\n" +
                         std::string(static_cast<std::size_t>(500 + i * i), 'x') + "\r\n");
    }
    std::printf("messages: %zu made here\n", messages.size());
  }
  return messages;
}

int RunProgram(const std::vector<std::string>& arguments) {
  std::vector<char*> argv;
  for (const std::string& argument : arguments) argv.push_back(const_cast<char*>(argument.c_str()));
  argv.push_back(nullptr);
  const pid_t child = fork();
  if (child == 0) {
    const int null = open("/dev/null", O_WRONLY);
    dup2(null, 1);
    execv(argv[0], argv.data());
    _exit(127);
  }
  int status = 0;
  waitpid(child, &status, 0);
  return WIFEXITED(status) ? WEXITSTATUS(status) : -1;
}

void MustRun(const std::vector<std::string>& arguments) {
  if (RunProgram(arguments) != 0)
    throw std::runtime_error("failed: " + arguments[0] + " " + arguments[1]);
}

std::string MessageName(int number) {
  std::array<char, 64> name;
  std::snprintf(name.data(), name.size(), "%032X.MAI", static_cast<unsigned>(number));
  return name.data();
}

class Installation {
 public:
  Installation(const Options& options, int durability) : options_(options) {
    place_ = options.directory / ("corvane-bench-" + std::to_string(getpid()));
    fs::remove_all(place_);
    MustRun({options.cvctl, "init", place_.string()});
    setenv("CORVANE_SETTINGS", (place_ / "settings.db").c_str(), 1);
    MustRun({options.cvctl, "postoffice", "add", "acme"});
    for (int i = 0; i < options.mailboxes; ++i) {
      MustRun({options.cvctl, "mailbox", "add", "acme/box" + std::to_string(i)});
    }
    Set("CONNECTORS\\SF", "Post Delivery Thread Creation Delay", 0);
    Set("CONNECTORS\\SF", "Outbound Poll Delay", 0);
    Set("CONNECTORS\\SF", "Reset Messages On Restart", 0);
    Set(".", "Delivery Durability", durability);
    for (const auto& entry : fs::recursive_directory_iterator(place_)) {
      if (entry.path().filename() == "Outgoing") outgoing_ = entry.path();
      if (entry.path().filename() == "MAILROOT") mailroot_ = entry.path();
    }
  }
  ~Installation() { fs::remove_all(place_); }
  Installation(const Installation&) = delete;
  Installation& operator=(const Installation&) = delete;

  void Fill(const std::vector<std::string>& messages) const {
    for (int i = 0; i < options_.messages; ++i) {
      const std::string name = MessageName(i);
      WriteFile(outgoing_ / "Messages" / name,
                messages[static_cast<std::size_t>(i) % messages.size()]);
      WriteFile(outgoing_ / name, "Recipients=[SF:acme/box" +
                                      std::to_string(i % options_.mailboxes) +
                                      "]\r\nServer=\r\nSender=[SMTP:sender@example.com]\r\n"
                                      "Retries=0\r\nNextSendTime=0\r\nTimeAcquired=1700000000\r\n"
                                      "AuthenticationStatus=0\r\nMessageID=" +
                                      name +
                                      "\r\nAccountName=\r\nClientIP=\r\nPriority=Normal\r\n"
                                      "Status=Unsent\r\n");
    }
    sync();
  }

  [[nodiscard]] bool QueueIsEmpty() const {
    bool empty = true;
    for (const auto& entry : fs::directory_iterator(outgoing_)) {
      if (entry.is_regular_file()) empty = false;
    }
    return empty;
  }

  // Seconds between the first and the last delivery, by the change times of the delivered files.
  [[nodiscard]] double DeliverySpan() const {
    double first = 1e18;
    double last = 0;
    int count = 0;
    for (const auto& entry : fs::recursive_directory_iterator(mailroot_)) {
      if (entry.path().extension() != ".MAI") continue;
      struct stat info {};
      stat(entry.path().c_str(), &info);
      const double at = static_cast<double>(info.st_ctim.tv_sec) +
                        1e-9 * static_cast<double>(info.st_ctim.tv_nsec);
      first = std::min(first, at);
      last = std::max(last, at);
      ++count;
    }
    if (count != options_.messages) throw std::runtime_error("delivered: " + std::to_string(count));
    return last - first;
  }

  [[nodiscard]] const fs::path& Place() const { return place_; }

 private:
  void Set(const std::string& key, const std::string& name, int value) const {
    MustRun({options_.cvctl, "settings", "set", key, name, std::to_string(value)});
  }

  const Options& options_;
  fs::path place_;
  fs::path outgoing_;
  fs::path mailroot_;
};

double Seconds(const timeval& time) {
  return static_cast<double>(time.tv_sec) + 1e-6 * static_cast<double>(time.tv_usec);
}

// System calls of the whole run, from strace's summary.
double CountCalls(const fs::path& summary) {
  std::ifstream stream(summary);
  std::string line;
  std::string total;
  while (std::getline(stream, line)) {
    if (line.ends_with("total")) total = line;
  }
  double percent = 0;
  double seconds = 0;
  double microseconds = 0;
  double calls = 0;
  std::sscanf(total.c_str(), "%lf %lf %lf %lf", &percent, &seconds, &microseconds, &calls);
  return calls;
}

Result RunConnector(const Options& options, const std::vector<std::string>& messages,
                    int durability, bool strace) {
  const Installation installation(options, durability);
  installation.Fill(messages);
  const std::string summary = (installation.Place() / "strace.txt").string();
  const pid_t child = fork();
  if (child == 0) {
    const int null = open("/dev/null", O_WRONLY);
    dup2(null, 1);
    if (strace) {
      execlp("strace", "strace", "-D", "-f", "-c", "-o", summary.c_str(), options.connector.c_str(),
             "-debug", nullptr);
    } else {
      execl(options.connector.c_str(), options.connector.c_str(), "-debug", nullptr);
    }
    _exit(127);
  }
  while (!installation.QueueIsEmpty()) std::this_thread::sleep_for(std::chrono::milliseconds(50));
  kill(child, SIGINT);
  int status = 0;
  rusage usage{};
  wait4(child, &status, 0, &usage);
  Result result;
  result.perSecond = options.messages / installation.DeliverySpan();
  result.cpuPerThousand =
      (Seconds(usage.ru_utime) + Seconds(usage.ru_stime)) * 1000 / options.messages;
  result.peakKb = usage.ru_maxrss;
  // The tracer stands beside the connector and writes its summary when that has ended.
  for (int i = 0; strace && i < 100 && CountCalls(summary) == 0; ++i) {
    std::this_thread::sleep_for(std::chrono::milliseconds(50));
  }
  if (strace) result.callsPerMessage = CountCalls(summary) / options.messages;
  return result;
}

void FloorOne(const fs::path& source, const fs::path& target, int directory, bool durable) {
  const std::string bytes = ReadFile(source);
  const int file = open(target.c_str(), O_CREAT | O_WRONLY | O_TRUNC, 0644);
  if (file < 0 || write(file, bytes.data(), bytes.size()) != static_cast<ssize_t>(bytes.size())) {
    throw std::runtime_error("floor: write failed");
  }
  if (durable) fdatasync(file);
  close(file);
  if (durable) fsync(directory);
  unlink(source.c_str());
}

Result RunFloor(const Options& options, const std::vector<std::string>& messages, bool durable) {
  const fs::path place = options.directory / ("corvane-floor-" + std::to_string(getpid()));
  fs::create_directories(place / "queue");
  std::vector<int> directories;
  for (int i = 0; i < options.mailboxes; ++i) {
    fs::create_directories(place / std::to_string(i));
    directories.push_back(open((place / std::to_string(i)).c_str(), O_RDONLY | O_DIRECTORY));
  }
  for (int i = 0; i < options.messages; ++i) {
    WriteFile(place / "queue" / MessageName(i),
              messages[static_cast<std::size_t>(i) % messages.size()]);
  }
  sync();
  rusage before{};
  getrusage(RUSAGE_SELF, &before);
  const auto start = std::chrono::steady_clock::now();
  std::atomic<int> next{0};
  std::vector<std::thread> threads;
  for (int t = 0; t < 10; ++t) {
    threads.emplace_back([&] {
      for (int i = next++; i < options.messages; i = next++) {
        const int box = i % options.mailboxes;
        FloorOne(place / "queue" / MessageName(i), place / std::to_string(box) / MessageName(i),
                 directories[static_cast<std::size_t>(box)], durable);
      }
    });
  }
  for (std::thread& thread : threads) thread.join();
  const std::chrono::duration<double> span = std::chrono::steady_clock::now() - start;
  rusage after{};
  getrusage(RUSAGE_SELF, &after);
  for (int directory : directories) close(directory);
  fs::remove_all(place);
  Result result;
  result.perSecond = options.messages / span.count();
  result.cpuPerThousand = (Seconds(after.ru_utime) + Seconds(after.ru_stime) -
                           Seconds(before.ru_utime) - Seconds(before.ru_stime)) *
                          1000 / options.messages;
  return result;
}

double Median(std::vector<double> values) {
  std::sort(values.begin(), values.end());
  return values[values.size() / 2];
}

void RunMode(const Options& options, const std::vector<std::string>& messages, int durability) {
  std::vector<double> rates, cpu, floors, floorCpu;
  long peak = 0;
  for (int round = 0; round < options.rounds; ++round) {
    const Result floor = RunFloor(options, messages, durability == 1);
    const Result result = RunConnector(options, messages, durability, false);
    rates.push_back(result.perSecond);
    cpu.push_back(result.cpuPerThousand);
    floors.push_back(floor.perSecond);
    floorCpu.push_back(floor.cpuPerThousand);
    peak = std::max(peak, result.peakKb);
  }
  std::printf(
      "durability %d: %7.0f messages/s  floor %7.0f/s  ratio %.2f  CPU s per 1,000 %.2f (floor "
      "%.2f)"
      "  peak %ld KB\n",
      durability, Median(rates), Median(floors), Median(rates) / Median(floors), Median(cpu),
      Median(floorCpu), peak);
  if (options.strace) {
    const Result traced = RunConnector(options, messages, durability, true);
    std::printf("durability %d: %.1f system calls a message, start and stop included\n", durability,
                traced.callsPerMessage);
  }
}

Options ParseOptions(int argc, char** argv) {
  Options options;
  std::vector<std::string> words(argv + 1, argv + argc);
  for (std::size_t i = 0; i < words.size(); ++i) {
    const auto number = [&] { return std::stoi(words.at(++i)); };
    if (words[i] == "--messages")
      options.messages = number();
    else if (words[i] == "--mailboxes")
      options.mailboxes = number();
    else if (words[i] == "--rounds")
      options.rounds = number();
    else if (words[i] == "--directory")
      options.directory = words.at(++i);
    else if (words[i] == "--strace")
      options.strace = true;
    else if (options.connector.empty())
      options.connector = words[i];
    else
      options.cvctl = words[i];
  }
  if (options.cvctl.empty())
    throw std::runtime_error(
        "usage: throughput CONNECTOR CVCTL [--messages N] [--mailboxes N] [--rounds N] "
        "[--directory DIR] [--strace]");
  return options;
}

}  // namespace

int main(int argc, char** argv) {
  try {
    std::setvbuf(stdout, nullptr, _IOLBF, 0);
    const Options options = ParseOptions(argc, argv);
    const std::vector<std::string> messages = LoadMessages();
    for (int durability : {1, 0}) RunMode(options, messages, durability);
  } catch (const std::exception& error) {
    std::fprintf(stderr, "throughput: %s\n", error.what());
    return 1;
  }
  return 0;
}
