#pragma once

#include <fcntl.h>
#include <poll.h>
#include <spawn.h>
#include <sys/wait.h>
#include <unistd.h>

#include <csignal>
#include <filesystem>
#include <fstream>
#include <functional>
#include <iterator>
#include <stdexcept>
#include <string>
#include <utility>
#include <vector>

/// How a program ended and what it wrote.
struct Outcome {
  int status = -1;  ///< exit status, or 128 and the signal that ended it
  std::string out;
  std::string err;
};

/// The program under test, run as a process of its own.
class Program {
 public:
  explicit Program(std::vector<std::string> arguments,
                   std::string program = ORVHDRI_BINARY_DIR "/bin/orvpaint")
      : arguments_(std::move(arguments)) {
    arguments_.insert(arguments_.begin(), std::move(program));
  }

  /// Runs in the child before the program starts: limits, closed streams and the like.
  Program& prepared(std::function<void()> prepare) {
    prepare_ = std::move(prepare);
    return *this;
  }

  /// Called once in the parent when the child runs.
  Program& meanwhile(std::function<void(pid_t)> act) {
    meanwhile_ = std::move(act);
    return *this;
  }

  Outcome run() const {
    int out[2];
    int err[2];
    if (::pipe2(out, O_CLOEXEC) != 0 || ::pipe2(err, O_CLOEXEC) != 0) throw std::runtime_error("no pipe");
    const pid_t child = ::fork();
    if (child < 0) throw std::runtime_error("no process");
    if (child == 0) {
      ::dup2(out[1], STDOUT_FILENO);
      ::dup2(err[1], STDERR_FILENO);
      if (prepare_) prepare_();
      std::vector<char*> argv;
      for (const std::string& argument : arguments_) argv.push_back(const_cast<char*>(argument.c_str()));
      argv.push_back(nullptr);
      ::execv(argv[0], argv.data());
      ::_exit(127);
    }
    ::close(out[1]);
    ::close(err[1]);
    if (meanwhile_) meanwhile_(child);
    Outcome result;
    collect(out[0], err[0], result);
    int status = 0;
    ::waitpid(child, &status, 0);
    result.status = WIFSIGNALED(status) ? 128 + WTERMSIG(status) : WEXITSTATUS(status);
    return result;
  }

 private:
  static void collect(int out, int err, Outcome& result) {
    pollfd files[2] = {{out, POLLIN, 0}, {err, POLLIN, 0}};
    std::string* texts[2] = {&result.out, &result.err};
    for (int open = 2; open > 0;) {
      ::poll(files, 2, -1);
      for (int i = 0; i < 2; ++i) {
        if (files[i].fd < 0 || files[i].revents == 0) continue;
        char buffer[4096];
        const ssize_t n = ::read(files[i].fd, buffer, sizeof buffer);
        if (n > 0) {
          texts[i]->append(buffer, static_cast<std::size_t>(n));
          continue;
        }
        ::close(files[i].fd);
        files[i].fd = -1;
        --open;
      }
    }
  }

  std::vector<std::string> arguments_;
  std::function<void()> prepare_;
  std::function<void(pid_t)> meanwhile_;
};

inline Outcome orvpaint(std::vector<std::string> arguments) { return Program(std::move(arguments)).run(); }

/// A folder of a test's own, removed at its end.
class TestFolder {
 public:
  TestFolder() {
    std::string name = (std::filesystem::temp_directory_path() / "orvpaint_test_XXXXXX").string();
    if (!::mkdtemp(name.data())) throw std::runtime_error("no folder");
    path_ = name;
  }
  ~TestFolder() {
    std::error_code ignored;
    std::filesystem::remove_all(path_, ignored);
  }
  TestFolder(const TestFolder&) = delete;
  TestFolder& operator=(const TestFolder&) = delete;

  std::string operator/(const std::string& name) const { return (path_ / name).string(); }

  /// Writes a file and gives its path.
  std::string put(const std::string& name, const std::string& text) const {
    std::ofstream(path_ / name, std::ios::binary) << text;
    return (path_ / name).string();
  }

  /// Names of the files in it.
  std::vector<std::string> names() const {
    std::vector<std::string> names;
    for (const auto& entry : std::filesystem::directory_iterator(path_))
      names.push_back(entry.path().filename().string());
    return names;
  }

 private:
  std::filesystem::path path_;
};

inline std::string contentsOf(const std::string& path) {
  std::ifstream file(path, std::ios::binary);
  return {std::istreambuf_iterator<char>(file), {}};
}

/// A small scene of one colour.
inline const char* const kColorScene =
    R"({"version": 1, "size": [64, 32], "background": {"type": "color", "color": [0.5, 0.25, 2]}})";
