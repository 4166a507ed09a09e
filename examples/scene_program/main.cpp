// Paints a scene file with a picture of its own as the background, and writes the map: what a program does
// that builds on the scene library. usage: scene_program SCENE.json MAP.exr
#include <scene/Session.h>
#include <scene/map_file.h>
#include <scene/read_scene.h>

#include <cstdio>
#include <exception>
#include <filesystem>
#include <vector>

int main(int count, char** arguments) {
  namespace scene = orv::scene;
  if (count != 3) {
    std::fprintf(stderr, "usage: scene_program SCENE.json MAP.exr\n");
    return 2;
  }
  try {
    const std::string path = arguments[1], output = arguments[2];
    scene::Session session;
    scene::Scene described = scene::readScene(path);

    // An even grey of 64 x 32 pixels from memory, in place of the scene's own background.
    const std::vector<float> grey(3 * 64 * 32, 0.25f);
    session.addImage("memory:grey", grey.data(), 64, 32);
    scene::ImageBackground picture;
    picture.path = "memory:grey";
    described.background.paint = picture;

    scene::PaintOptions options;
    options.fileName = path;
    options.folder = std::filesystem::path(path).parent_path().string();
    const scene::PaintResult painted = session.paint(described, options);
    for (const std::string& line : painted.messages) std::fprintf(stderr, "%s\n", line.c_str());

    const scene::MapFormat* const format = scene::mapFormatOf(output);
    if (!format) throw scene::FileError(output + ": its ending names no format of maps");
    scene::OutputFile file(output);
    scene::writeMap(*painted.map, file, *format, {});
    file.commit();
    const orv::hdri::Rgb& corner = painted.map->pixels[0];
    std::printf("%d x %d, zenith %.2f %.2f %.2f\n", painted.map->width, painted.map->height,
                static_cast<double>(corner.r), static_cast<double>(corner.g), static_cast<double>(corner.b));
  } catch (const std::exception& error) {
    std::fprintf(stderr, "%s\n", error.what());
    return 1;
  }
}
