// Scenes from pipes, and maps into them.

#include <gmock/gmock.h>
#include <pty.h>
#include <sys/socket.h>
#include <sys/stat.h>

#include <thread>

#include "apps/Program.h"

namespace {

using ::testing::ElementsAre;
using ::testing::HasSubstr;

/// The name of each format and the bytes with which its files begin.
struct Format {
  const char* name;
  std::string start;
};
const Format kFormats[] = {{"exr", "\x76\x2f\x31\x01"},      {"hdr", "#?RADIANCE"}, {"pfm", "PF\n64 32\n"},
                           {"tif", std::string("II*\0", 4)}, {"png", "\x89PNG"},    {"jpg", "\xFF\xD8\xFF"}};

class StreamTest : public testing::Test {
 protected:
  StreamTest() : scene_(folder_.put("s.json", kColorScene)) {}

  /// A call whose standard input is this text.
  Program reading(std::vector<std::string> call, const std::string& text) const {
    const std::string file = folder_.put("input", text);
    return Program(std::move(call)).prepared([file] {
      ::dup2(::open(file.c_str(), O_RDONLY), STDIN_FILENO);
    });
  }

  TestFolder folder_;
  std::string scene_;
};

TEST_F(StreamTest, EveryFormatGoesToStandardOutputAsItGoesToAFile) {
  std::vector<std::string> paint = {"paint", scene_, "-q"};
  for (const Format& format : kFormats) paint.insert(paint.end(), {"-o", folder_ / "a." + format.name});
  ASSERT_EQ(orvpaint(paint).status, 0);
  for (const Format& format : kFormats) {
    const std::string path = folder_ / "a." + format.name;
    const Outcome run = orvpaint({"paint", scene_, "-q", "-o", "-", "--format", format.name});
    EXPECT_EQ(run.status, 0) << run.err;
    EXPECT_TRUE(run.out.starts_with(format.start)) << format.name;
    EXPECT_EQ(run.out, contentsOf(path)) << format.name;
    EXPECT_EQ(run.err, "");
  }
}

TEST_F(StreamTest, AFormatIsForTheOutputsWithoutAnEnding) {
  const Outcome run =
      orvpaint({"paint", scene_, "-q", "-o", folder_ / "a.pfm", "-o", "-", "--format", ".PNG"});
  EXPECT_EQ(run.status, 0) << run.err;
  EXPECT_TRUE(run.out.starts_with("\x89PNG"));
  EXPECT_TRUE(contentsOf(folder_ / "a.pfm").starts_with("PF\n"));
}

TEST_F(StreamTest, AFileWithoutAnEndingTakesTheFormat) {
  const Outcome run = orvpaint({"paint", scene_, "-q", "-o", folder_ / "map", "--format", "pfm"});
  EXPECT_EQ(run.status, 0) << run.err;
  EXPECT_TRUE(contentsOf(folder_ / "map").starts_with("PF\n64 32\n"));
}

TEST_F(StreamTest, ASheetGoesToStandardOutput) {
  const Outcome run = orvpaint({"preview", scene_, "-q", "-o", "-", "--format", "png", "--size", "64x32"});
  EXPECT_EQ(run.status, 0) << run.err;
  EXPECT_TRUE(run.out.starts_with("\x89PNG"));
}

TEST_F(StreamTest, ARedirectedFileIsWrittenWhereItStands) {
  const std::string path = folder_.put("out", "before\n");
  for (const char* name : {"-", "/dev/stdout", "/dev/fd/1", "/proc/self/fd/1"}) {
    const Outcome run =
        Program({"paint", scene_, "-q", "-o", name, "--format", "pfm"})
            .prepared([&] { ::dup2(::open(path.c_str(), O_WRONLY | O_APPEND), STDOUT_FILENO); })
            .run();
    EXPECT_EQ(run.status, 0) << name << run.err;
    const std::string text = contentsOf(path);
    EXPECT_TRUE(text.starts_with("before\nPF\n64 32\n")) << name;
    folder_.put("out", "before\n");
  }
}

TEST_F(StreamTest, ADescriptorOfTheCallersIsWritten) {
  const std::string path = folder_ / "three";
  const Outcome run = Program({"paint", scene_, "-q", "-o", "/dev/fd/3", "--format", "pfm"})
                          .prepared([&] { ::dup2(::open(path.c_str(), O_WRONLY | O_CREAT, 0600), 3); })
                          .run();
  EXPECT_EQ(run.status, 0) << run.err;
  EXPECT_TRUE(contentsOf(path).starts_with("PF\n64 32\n"));
}

TEST_F(StreamTest, ALongerFileEndsWithTheMap) {
  const std::string path = folder_.put("out", std::string(100000, 'x'));
  const Outcome run = Program({"paint", scene_, "-q", "-o", "-", "--format", "pfm"})
                          .prepared([&] { ::dup2(::open(path.c_str(), O_WRONLY), STDOUT_FILENO); })
                          .run();
  EXPECT_EQ(run.status, 0) << run.err;
  EXPECT_EQ(contentsOf(path).size(), std::string("PF\n64 32\n-1.0\n").size() + std::size_t{12} * 64 * 32);
}

TEST_F(StreamTest, ADescriptorThatIsNotOpenIsNamed) {
  const Outcome run = orvpaint({"paint", scene_, "-o", "/dev/fd/77", "--format", "exr"});
  EXPECT_EQ(run.status, 1);
  EXPECT_EQ(run.err, "orvpaint: /dev/fd/77: cannot be written: Bad file descriptor\n");
}

TEST_F(StreamTest, ASocketTakesAMap) {
  int ends[2];
  ASSERT_EQ(::socketpair(AF_UNIX, SOCK_STREAM, 0, ends), 0);
  const Outcome run = Program({"paint", scene_, "-q", "-o", "-", "--format", "pfm"})
                          .prepared([&] { ::dup2(ends[1], STDOUT_FILENO); })
                          .run();
  EXPECT_EQ(run.status, 0) << run.err;
  char start[9] = {};
  EXPECT_EQ(::read(ends[0], start, 9), 9);
  EXPECT_EQ(std::string(start, 9), "PF\n64 32\n");
  ::close(ends[0]);
  ::close(ends[1]);
}

TEST_F(StreamTest, ANamedPipeTakesAMap) {
  const std::string pipe = folder_ / "pipe";
  ASSERT_EQ(::mkfifo(pipe.c_str(), 0600), 0);
  std::string read;
  std::thread reader([&] { read = contentsOf(pipe); });
  const Outcome run = orvpaint({"paint", scene_, "-q", "-o", pipe, "--format", "tif"});
  reader.join();
  EXPECT_EQ(run.status, 0) << run.err;
  EXPECT_TRUE(read.starts_with("II*"));
}

TEST_F(StreamTest, APipeThatDoesNotWaitGetsTheWholeMap) {
  int ends[2];
  ASSERT_EQ(::pipe2(ends, O_NONBLOCK | O_CLOEXEC), 0);
  std::string read;
  const Outcome run = Program({"paint", scene_, "-q", "-o", "-", "--format", "pfm", "--size", "512x256"})
                          .prepared([&] { ::dup2(ends[1], STDOUT_FILENO); })
                          .meanwhile([&](pid_t) {
                            ::close(ends[1]);
                            for (char buffer[65536];;) {
                              pollfd pipe{ends[0], POLLIN, 0};
                              ::poll(&pipe, 1, -1);
                              const ssize_t n = ::read(ends[0], buffer, sizeof buffer);
                              if (n <= 0) break;
                              read.append(buffer, static_cast<std::size_t>(n));
                            }
                          })
                          .run();
  ::close(ends[0]);
  EXPECT_EQ(run.status, 0) << run.err;
  // The header and three floats a pixel.
  EXPECT_EQ(read.size(), std::string("PF\n512 256\n-1.0\n").size() + std::size_t{12} * 512 * 256);
}

TEST_F(StreamTest, ATerminalTakesNoMap) {
  int terminal = -1;
  int program = -1;
  ASSERT_EQ(::openpty(&terminal, &program, nullptr, nullptr, nullptr), 0);
  const std::vector<std::vector<std::string>> calls{
      {"paint", scene_, "-o", "-", "--format", "exr"},
      {"paint", scene_, "-o", "/dev/stdout", "--format", "exr"},
      {"preview", scene_, "-o", "-", "--format", "png"},
  };
  for (const std::vector<std::string>& call : calls) {
    const Outcome run = Program(call).prepared([program] { ::dup2(program, STDOUT_FILENO); }).run();
    EXPECT_EQ(run.status, 2);
    EXPECT_EQ(run.err,
              "orvpaint: --output: " + call[3] +
                  ": a map is not shown on a terminal; send it to a file or a pipe: > map, | program\n");
  }
  ::close(program);
  ::close(terminal);
}

TEST_F(StreamTest, AClosedPipeIsAFailure) {
  int ends[2];
  ASSERT_EQ(::pipe(ends), 0);
  ::close(ends[0]);
  const Outcome run = Program({"paint", scene_, "-q", "-o", "-", "--format", "exr"})
                          .prepared([&] { ::dup2(ends[1], STDOUT_FILENO); })
                          .run();
  ::close(ends[1]);
  EXPECT_EQ(run.status, 1);
  EXPECT_EQ(run.err, "orvpaint: standard output: cannot be written: Broken pipe\n");
}

TEST_F(StreamTest, ClosedStandardOutputIsAFailureBeforePainting) {
  const Outcome run = Program({"paint", scene_, "-o", "-", "--format", "exr", "--size", "16384x8192"})
                          .prepared([] { ::close(STDOUT_FILENO); })
                          .run();
  EXPECT_EQ(run.status, 1);
  EXPECT_EQ(run.err, "orvpaint: standard output: cannot be written: Bad file descriptor\n");
}

TEST_F(StreamTest, AManifestGoesToStandardOutput) {
  const Outcome run = orvpaint({"paint", scene_, "-q", "-o", folder_ / "a.pfm", "--manifest", "-"});
  EXPECT_EQ(run.status, 0) << run.err;
  EXPECT_THAT(run.out, testing::StartsWith(R"({"job":{"scene":")" + scene_ + R"(")"));
  EXPECT_THAT(run.out, testing::ContainsRegex("\"status\":\"painted\",\"seconds\":.*\"peak\":[^\n]*}\n$"));
  EXPECT_THAT(folder_.names(), testing::UnorderedElementsAre("s.json", "a.pfm"));
  const Outcome twice = orvpaint({"paint", scene_, "-o", "-", "--format", "pfm", "--manifest", "-"});
  EXPECT_EQ(twice.status, 2);
  EXPECT_EQ(twice.err, "orvpaint: --output: - is given twice\n");
}

TEST_F(StreamTest, MessagesDoNotGoIntoTheMap) {
  const Outcome quiet =
      orvpaint({"paint", scene_, "-q", "-o", "-", "--format", "pfm", "--layout", "usd", "--size", "66x32"});
  const Outcome run =
      orvpaint({"paint", scene_, "-o", "-", "--format", "pfm", "--layout", "usd", "--size", "66x32"});
  EXPECT_EQ(run.out, quiet.out);
  EXPECT_THAT(run.err, HasSubstr("the columns are interpolated"));
}

TEST_F(StreamTest, ASceneIsReadFromStandardInput) {
  ASSERT_EQ(orvpaint({"paint", scene_, "-q", "-o", folder_ / "a.pfm"}).status, 0);
  const Outcome run = reading({"paint", "-", "-q", "-o", folder_ / "b.pfm"}, kColorScene).run();
  EXPECT_EQ(run.status, 0) << run.err;
  EXPECT_EQ(contentsOf(folder_ / "b.pfm"), contentsOf(folder_ / "a.pfm"));
}

TEST_F(StreamTest, ASceneFromAPipeIsVariedAndNamed) {
  const std::string pipe = folder_ / "pipe.json";
  ASSERT_EQ(::mkfifo(pipe.c_str(), 0600), 0);
  std::thread writer([&] { std::ofstream(pipe) << kColorScene; });
  const Outcome run = orvpaint({"paint", pipe, "-q", "--sweep", "background.brightness=1,2", "-o",
                                folder_ / "{name}_{size}_{index}.pfm"});
  writer.join();
  EXPECT_EQ(run.status, 0) << run.err;
  EXPECT_THAT(folder_.names(), testing::IsSupersetOf({"scene_64x32_0000.pfm", "scene_64x32_0001.pfm"}));
}

TEST_F(StreamTest, ErrorsOfStandardInputAreCalledSo) {
  const Outcome run = reading({"paint", "-", "-o", folder_ / "a.exr"}, R"({"version": 1})").run();
  EXPECT_EQ(run.status, 2);
  EXPECT_THAT(run.err, testing::StartsWith("<stdin>:1:1: "));
  EXPECT_THAT(run.err, HasSubstr("background: missing"));
  const Outcome check = reading({"check", "-"}, R"({"version": 1})").run();
  EXPECT_EQ(check.status, 2);
  EXPECT_THAT(check.err, testing::StartsWith("<stdin>:1:1: "));
  const Outcome none = reading({"paint", "-", "-o", folder_ / "a.exr"}, "").run();
  EXPECT_EQ(none.status, 2);
  EXPECT_THAT(none.err, testing::StartsWith("<stdin>:1:1: "));
}

TEST_F(StreamTest, ClosedStandardInputIsAFailure) {
  const Outcome run =
      Program({"paint", "-", "-o", folder_ / "a.exr"}).prepared([] { ::close(STDIN_FILENO); }).run();
  EXPECT_NE(run.status, 0);
  EXPECT_THAT(run.err, HasSubstr("<stdin>:"));
}

TEST_F(StreamTest, ImagesOfStandardInputLieInTheWorkingDirectory) {
  const std::string scene =
      R"({"version": 1, "size": [64, 32], "background": {"type": "image", "path": "venice.exr"}})";
  const std::string file = folder_.put("input", scene);
  const Outcome run = Program({"paint", "-", "-q", "-o", folder_ / "a.pfm"})
                          .prepared([file] {
                            if (::chdir(ORVHDRI_SOURCE_DIR "/examples") != 0) ::_exit(126);
                            ::dup2(::open(file.c_str(), O_RDONLY), STDIN_FILENO);
                          })
                          .run();
  EXPECT_EQ(run.status, 0) << run.err;
}

TEST_F(StreamTest, ADryRunGivesTheSceneOfStandardInputAsItStands) {
  const Outcome run = reading({"paint", "-", "--dry-run", "-o", folder_ / "a.exr"},
                              R"({"version": 1, /* grey */ "background": {"type": "color"}})")
                          .run();
  EXPECT_EQ(run.status, 0) << run.err;
  EXPECT_THAT(run.out, testing::StartsWith(R"({"scene":{"version":1,"background":{"type":"color"}},)"));
}

TEST_F(StreamTest, ASceneGoesThroughToAMap) {
  const Outcome run = reading({"paint", "-", "-q", "-o", "-", "--format", "pfm"}, kColorScene).run();
  EXPECT_EQ(run.status, 0) << run.err;
  EXPECT_TRUE(run.out.starts_with("PF\n64 32\n"));
  EXPECT_EQ(run.err, "");
}

}  // namespace
