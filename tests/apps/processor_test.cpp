// The program on processors that the painter can not run on, which qemu plays.

#include <gmock/gmock.h>

#include "apps/Program.h"

namespace {

const char* const kQemu = "/usr/bin/qemu-x86_64";

/// Paints on a processor of that name. The program's own words are the last line: qemu warns of what it
/// lacks.
Outcome paintOn(const std::string& processor, const TestFolder& folder) {
  const std::string scene = folder.put("scene.json", kColorScene);
  return Program({"-cpu", processor, ORVHDRI_BINARY_DIR "/bin/orvpaint", "paint", scene, "-o",
                  folder / "map.exr"},
                 kQemu)
      .run();
}

std::string lastLine(const std::string& text) {
  const std::string line = text.substr(0, text.find_last_not_of('\n') + 1);
  return line.substr(line.rfind('\n') + 1);
}

class Processor : public testing::Test {
 protected:
  void SetUp() override {
    if (ORVHDRI_SANITIZED) GTEST_SKIP() << "a sanitizer's shadow memory does not fit qemu's";
    if (::access(kQemu, X_OK) != 0) GTEST_SKIP() << "qemu-user is not installed";
  }
  TestFolder folder;
};

TEST_F(Processor, WithoutAvx2AndFmaIsOneLine) {
  const Outcome run = paintOn("Nehalem", folder);
  EXPECT_EQ(run.status, 1);
  EXPECT_EQ(run.err,
            "orvpaint: the processor lacks AVX2 and FMA; the painter needs an x86-64 processor with AVX2 and "
            "FMA\n");
  EXPECT_EQ(run.out, "");
  EXPECT_EQ(folder.names().size(), 1u);
}

TEST_F(Processor, WithoutOneOfThemIsNamed) {
  EXPECT_EQ(lastLine(paintOn("Haswell,-fma", folder).err),
            "orvpaint: the processor lacks FMA; the painter needs an x86-64 processor with AVX2 and FMA");
  EXPECT_EQ(lastLine(paintOn("Haswell,-avx2", folder).err),
            "orvpaint: the processor lacks AVX2; the painter needs an x86-64 processor with AVX2 and FMA");
}

TEST_F(Processor, WithBothPaintsTheSameBytes) {
  EXPECT_EQ(paintOn("max", folder).status, 0);
  const std::string direct = folder / "direct.exr";
  EXPECT_EQ(orvpaint({"paint", folder / "scene.json", "-o", direct}).status, 0);
  EXPECT_EQ(contentsOf(folder / "map.exr"), contentsOf(direct));
}

}  // namespace
