// The C++ in the documents compiles as a host's code: against the public headers alone, as they are
// installed, in C++20, with warnings as errors.
//
// A block with a main is a source file as it stands. Any other is a fragment: its #include lines come first,
// the rest becomes the body of a function.

#include <gtest/gtest.h>

#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <sstream>
#include <string>
#include <vector>

#include "documents.h"

namespace {

namespace fs = std::filesystem;
using documents::kSource;

/// A source file that holds the block.
std::string sourceOf(const std::string& block) {
  if (block.find("int main(") != std::string::npos) return block;
  std::string includes, body;
  std::istringstream in(block);
  for (std::string line; std::getline(in, line);)
    (line.starts_with("#include ") ? includes : body) += line + "\n";
  return includes + "void fragment();\nvoid fragment() {\n" + body + "}\n";
}

class DocumentCode : public testing::Test {
 protected:
  DocumentCode() {
    std::string name = (fs::temp_directory_path() / "orvhdri_documents_XXXXXX").string();
    if (!mkdtemp(name.data())) throw std::runtime_error("no temporary folder");
    folder_ = name;
    // The folders of headers that an installation has.
    fs::create_directories(folder_ / "include/orvrender");
    fs::create_directory_symlink(kSource / "include/hdri", folder_ / "include/hdri");
    fs::create_symlink(kSource / "orvrender/orvHost.h", folder_ / "include/orvrender/orvHost.h");
    for (const auto& header : fs::directory_iterator(kSource / "src/host"))
      fs::create_symlink(header.path(), folder_ / "include/orvrender" / header.path().filename());
  }
  ~DocumentCode() override { fs::remove_all(folder_); }

  /// What the compiler says of the block; empty when it takes it.
  std::string complaints(const std::string& block) {
    const fs::path source = folder_ / "block.cpp", said = folder_ / "said";
    std::ofstream(source) << sourceOf(block);
    const std::string command =
        std::string(ORVHDRI_CXX_COMPILER) + " -std=c++20 -fsyntax-only -Wall -Wextra -Wpedantic -Werror -I'" +
        (folder_ / "include").string() + "' '" + source.string() + "' >'" + said.string() + "' 2>&1";
    if (std::system(command.c_str()) == 0) return "";
    std::ifstream in(said);
    return "not taken:\n" + std::string(std::istreambuf_iterator<char>(in), std::istreambuf_iterator<char>());
  }

 private:
  fs::path folder_;
};

TEST_F(DocumentCode, OfTheReadmeIsAWholeProgram) {
  const std::vector<std::string> blocks = documents::blocksOf(kSource / "README.md", "cpp");
  EXPECT_FALSE(blocks.empty());
  for (const std::string& block : blocks) EXPECT_NE(block.find("int main("), std::string::npos);
}

TEST_F(DocumentCode, OfTheHostsGuideIsTheMinimalHost) {
  const std::vector<std::string> blocks = documents::blocksOf(kSource / "docs/embedding.md", "cpp");
  ASSERT_FALSE(blocks.empty());
  EXPECT_EQ(blocks.front(), documents::textOf(kSource / "examples/minimal_host/main.cpp"));
}

TEST_F(DocumentCode, OfThePagesCompiles) {
  std::size_t blocks = 0;
  for (const fs::path& page : documents::pages()) {
    for (const std::string& block : documents::blocksOf(page, "cpp")) {
      ++blocks;
      EXPECT_EQ(complaints(block), "") << page;
    }
  }
  EXPECT_GT(blocks, 1u);
}

TEST_F(DocumentCode, ThatIsWrongIsFound) {
  EXPECT_EQ(complaints("#include <hdri/ColorBrush.h>\norv::hdri::ColorBrush b(1, 1, 1);\nb.setColor({});\n"),
            "");
  EXPECT_NE(complaints("orv::hdri::ColorBrush b(1, 1, 1);\nb.setColor({});\n"), "") << "a missing header";
  EXPECT_NE(complaints("int unused = 1;\n"), "") << "a warning";
}

}  // namespace
