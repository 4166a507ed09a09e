#include <gtest/gtest.h>

#include <algorithm>
#include <utility>

#include "host/orvMesh.h"

// The copy and move operators that the library exports for its host.
namespace {

orvTrimesh triangle() {
  orvTrimesh mesh;
  mesh.vertices = {0, 0, 0, 1, 0, 0, 0, 1, 0};
  mesh.normals = {0, 0, 1};
  mesh.uvs = {0, 0, 1, 0, 0, 1};
  mesh.faces = {0, 1, 2};
  return mesh;
}

void expectTriangle(const orvTrimesh& mesh) {
  EXPECT_EQ(mesh.vertices, triangle().vertices);
  EXPECT_EQ(mesh.normals, triangle().normals);
  EXPECT_EQ(mesh.uvs, triangle().uvs);
  EXPECT_EQ(mesh.faces, triangle().faces);
}

TEST(HostClasses, AMeshIsCopiedWholeAndTheOriginalStays) {
  const orvTrimesh mesh = triangle();
  orvTrimesh assigned;
  assigned = mesh;
  expectTriangle(assigned);
  expectTriangle(mesh);
}

TEST(HostClasses, AMeshIsMovedWithoutCopyingItsArrays) {
  orvTrimesh mesh = triangle();
  const float* const vertices = mesh.vertices.data();
  orvTrimesh assigned;
  assigned = std::move(mesh);
  expectTriangle(assigned);
  EXPECT_EQ(assigned.vertices.data(), vertices);
}

TEST(HostClasses, AMeshSaysWhatItHas) {
  orvTrimesh mesh;
  EXPECT_FALSE(mesh.has_normals());
  EXPECT_FALSE(mesh.has_uv());
  mesh.normals = {0, 0, 1};
  EXPECT_TRUE(mesh.has_normals());
  EXPECT_FALSE(mesh.has_uv());
  mesh.uvs = {0, 0};
  EXPECT_TRUE(mesh.has_uv());
}

TEST(HostClasses, ASourceTriangleIsCopiedAndMovedWhole) {
  orvSource_triangle triangle;
  triangle.corners[2][1] = 5;
  triangle.normal[2] = 1;
  triangle.area = 12.5;
  triangle.material = 3;
  orvSource_triangle copied, moved;
  copied = triangle;
  moved = std::move(triangle);
  for (const orvSource_triangle* other : {&copied, &moved}) {
    EXPECT_EQ(other->corners[2][1], 5);
    EXPECT_EQ(other->normal[2], 1);
    EXPECT_EQ(other->area, 12.5);
    EXPECT_EQ(other->material, 3u);
  }
}

TEST(HostClasses, AParameterEditIsCopiedWhole) {
  orvParameter_edit edit;
  edit.name = "brightness";
  edit.values = {1, 2};
  edit.frame = 7;
  const orvParameter_edit copied = edit;
  orvParameter_edit assigned;
  assigned = edit;
  for (const orvParameter_edit* other : {&copied, static_cast<const orvParameter_edit*>(&assigned)}) {
    EXPECT_EQ(other->name, "brightness");
    EXPECT_EQ(other->values, (std::vector<float>{1, 2}));
    EXPECT_EQ(other->frame, 7u);
  }
}

TEST(HostClasses, ATracersMeshIsCopiedWhole) {
  orvRT_mesh mesh;
  mesh.id = 1234567890123;
  for (int i = 0; i < 12; ++i) mesh.transform[i] = i;
  const orvRT_mesh copied = mesh;
  orvRT_mesh assigned;
  assigned = mesh;
  EXPECT_EQ(copied.id, 1234567890123u);
  EXPECT_EQ(assigned.id, 1234567890123u);
  EXPECT_TRUE(std::ranges::equal(copied.transform, mesh.transform));
  EXPECT_TRUE(std::ranges::equal(assigned.transform, mesh.transform));
}

TEST(HostClasses, TheTracersSettingsAreCopiedAndMovedWhole) {
  orvRT_utility utility;
  utility.samples = 16;
  utility.depth = 4;
  utility.epsilon = 0.5f;
  orvRT_utility copied, moved;
  copied = utility;
  moved = std::move(utility);
  for (const orvRT_utility* other : {&copied, &moved}) {
    EXPECT_EQ(other->samples, 16u);
    EXPECT_EQ(other->depth, 4u);
    EXPECT_EQ(other->epsilon, 0.5f);
  }
}

}  // namespace
