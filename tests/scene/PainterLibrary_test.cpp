#include "scene/PainterLibrary.h"

#include <gmock/gmock.h>
#include <unistd.h>

#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <string>

namespace orv::scene {
namespace {

using ::testing::HasSubstr;

const std::string kBuilt = ORVHDRI_BINARY_DIR "/lib/liborvhdri_avx2.so";

std::string errorOf(const std::string& path, ProcessorFeatures processor) {
  try {
    const PainterLibrary library(path, processor);
    return {};
  } catch (const PainterError& error) {
    return error.what();
  }
}

TEST(PainterLibrary, RefusesAProcessorWithoutTheInstructions) {
  // The library is not even looked for: the path does not exist.
  EXPECT_EQ(errorOf("/nonexistent.so", {.avx2 = false, .fma = false}),
            "the processor lacks AVX2 and FMA; the painter needs an x86-64 processor with AVX2 and FMA");
  EXPECT_THAT(errorOf("/nonexistent.so", {.avx2 = false, .fma = true}), HasSubstr("lacks AVX2;"));
  EXPECT_THAT(errorOf("/nonexistent.so", {.avx2 = true, .fma = false}), HasSubstr("lacks FMA;"));
}

TEST(PainterLibrary, NamesALibraryThatIsMissing) {
  const std::string error = errorOf("/nonexistent.so", {true, true});
  EXPECT_THAT(error, HasSubstr("/nonexistent.so"));
  EXPECT_THAT(error, HasSubstr("--painter"));
}

TEST(PainterLibrary, RefusesALibraryThatIsNoPainter) {
  EXPECT_THAT(errorOf(ORVHDRI_BINARY_DIR "/lib/liborvrender.so", {true, true}),
              HasSubstr("not a painter: it has no createAVX2Painter"));
}

TEST(PainterLibrary, IsFoundBesideTheHostLibrary) {
  const PainterLibrary library;
  EXPECT_TRUE(std::filesystem::equivalent(library.path(), kBuilt));
}

TEST(PainterLibrary, AnotherFoldersPainterTakesTheHostThatIsLoaded) {
  namespace fs = std::filesystem;
  const fs::path folder = fs::temp_directory_path() / ("orvhdri_painter_" + std::to_string(::getpid()));
  fs::create_directories(folder);
  for (const char* name : {"liborvhdri_avx2.so", "liborvrender.so"})
    fs::copy_file(fs::path(ORVHDRI_BINARY_DIR "/lib") / name, folder / name,
                  fs::copy_options::overwrite_existing);
  const PainterLibrary library((folder / "liborvhdri_avx2.so").string());
  std::ifstream maps("/proc/self/maps");
  const std::string mapped{std::istreambuf_iterator<char>(maps), {}};
  EXPECT_THAT(mapped, HasSubstr(folder.string() + "/liborvhdri_avx2.so"));
  EXPECT_THAT(mapped, testing::Not(HasSubstr(folder.string() + "/liborvrender.so")));
  fs::remove_all(folder);
}

TEST(PainterLibrary, TakesThePathOfTheEnvironment) {
  ::setenv("ORVHDRI_PAINTER", "/nonexistent/named.so", 1);
  const std::string fromEnvironment = errorOf({}, {true, true});
  const std::string fromOption = errorOf(kBuilt, {true, true});
  ::unsetenv("ORVHDRI_PAINTER");
  EXPECT_THAT(fromEnvironment, HasSubstr("/nonexistent/named.so"));
  EXPECT_EQ(fromOption, "") << "an option comes before the environment";
}

TEST(PainterLibrary, MakesPainters) {
  const PainterLibrary library(kBuilt);
  const PainterPointer painter = library.create();
  EXPECT_EQ(painter->getType(), hdri::PainterType::avx2);
  EXPECT_FALSE(painter->hasBackground());
}

}  // namespace
}  // namespace orv::scene
