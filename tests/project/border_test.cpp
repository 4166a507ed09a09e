// The painter's border: what it exports and what it asks of its host, against checked-in lists.

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <array>
#include <cstdio>
#include <fstream>
#include <memory>
#include <set>
#include <string>

namespace {

std::string output(const std::string& command) {
  const std::unique_ptr<std::FILE, int (*)(std::FILE*)> pipe(popen(command.c_str(), "r"), pclose);
  std::string text;
  std::array<char, 4096> buffer{};
  while (pipe && std::fgets(buffer.data(), buffer.size(), pipe.get())) text += buffer.data();
  return text;
}

std::set<std::string> lines(std::istream& in) {
  std::set<std::string> out;
  for (std::string line; std::getline(in, line);)
    if (!line.empty()) out.insert(line);
  return out;
}

std::set<std::string> listed(const std::string& name) {
  std::ifstream in(std::string(ORVHDRI_SOURCE_DIR) + "/tests/project/" + name);
  return lines(in);
}

/// The names that `nm` prints with the given options, without addresses, types and versions; of one type
/// where it is given.
std::set<std::string> symbols(const std::string& options, char type = 0,
                              const std::string& library = "liborvhdri_avx2.so") {
  std::istringstream in(output("nm -D -C " + options + " " ORVHDRI_BINARY_DIR "/lib/" + library));
  std::set<std::string> out;
  for (std::string line; std::getline(in, line);) {
    // "0000000000001234 T name" or "                 U name@VERSION".
    if (line.size() < 20 || (type && line[17] != type)) continue;
    std::string name = line.substr(19);
    name = name.substr(0, name.find('@'));
    out.insert(name);
  }
  return out;
}

TEST(Border, ExportsAreExactlyTheList) { EXPECT_EQ(symbols("--defined-only"), listed("exports.txt")); }

TEST(Border, TheHostGivesOutExactlyTheList) {
  EXPECT_EQ(symbols("--defined-only", 0, "liborvrender.so"), listed("host_exports.txt"));
  EXPECT_THAT(symbols("--defined-only", 0, "liborvrender_images.so"),
              testing::ElementsAre("orv_image_module_entry"));
}

std::set<std::string> hostOperations(char type) {
  std::set<std::string> host;
  for (const std::string& name : symbols("--undefined-only", type))
    if (name.starts_with("orv")) host.insert(name);
  return host;
}

TEST(Border, HostOperationsAreExactlyTheList) { EXPECT_EQ(hostOperations('U'), listed("imports.txt")); }

// Weak: the library is loaded without them.
TEST(Border, OperationsThatAHostMayLeaveOutAreExactlyTheList) {
  EXPECT_EQ(hostOperations('w'), listed("optional_imports.txt"));
}

TEST(Border, NeedsNoLibraryButTheHostOneTBBAndTheRuntimes) {
  std::istringstream in(output("objdump -p " ORVHDRI_BINARY_DIR "/lib/liborvhdri_avx2.so | grep NEEDED"));
  const std::set<std::string> allowed = {"liborvrender.so",     "libtbb.so.12",  "libstdc++.so.6",
                                         "libm.so.6",           "libgcc_s.so.1", "libc.so.6",
                                         "ld-linux-x86-64.so.2"};
  std::size_t found = 0;
  for (std::string line; std::getline(in, line); ++found) {
    const std::string name = line.substr(line.find_last_of(' ') + 1);
    const bool sanitizer = name.find("san.so") != std::string::npos;
    EXPECT_TRUE(allowed.contains(name) || sanitizer) << name;
  }
  EXPECT_GT(found, 0u);
}

TEST(Border, NothingLoadsOpenImageIoBeforeItIsNeeded) {
  for (const char* file : {"/bin/orvpaint", "/lib/liborvrender.so", "/lib/liborvhdri_avx2.so"}) {
    const std::string libraries = output(std::string("ldd ") + ORVHDRI_BINARY_DIR + file);
    EXPECT_NE(libraries.find("libtbb"), std::string::npos) << libraries;
    EXPECT_EQ(libraries.find("OpenImageIO"), std::string::npos) << libraries;
  }
}

}  // namespace
