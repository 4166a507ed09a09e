#pragma once

#include <cstdint>
#include <string>
#include <vector>

// Mesh and parameter classes of the host. A library that is built against these headers exports their copy
// and move operators; `HostClassOperators.cpp` does that by defining ORV_EMIT_HOST_OPERATORS.
#if defined(ORV_EMIT_HOST_OPERATORS)
#define ORV_HOST_CLASS [[gnu::visibility("default")]]
#define ORV_HOST_INLINE [[gnu::used]] inline
#else
#define ORV_HOST_CLASS [[gnu::visibility("default")]]
#define ORV_HOST_INLINE inline
#endif

/// A triangle mesh: three floats a vertex and a normal, two floats a texture coordinate, three indices a
/// face.
class ORV_HOST_CLASS orvTrimesh {
 public:
  orvTrimesh() = default;
  orvTrimesh(const orvTrimesh&) = default;
  orvTrimesh(orvTrimesh&&) noexcept = default;
  ~orvTrimesh() = default;
  orvTrimesh& operator=(const orvTrimesh& other);
  orvTrimesh& operator=(orvTrimesh&& other) noexcept;

  /// Whether the mesh has any normals.
  bool has_normals() const;
  /// Whether the mesh has any texture coordinates.
  bool has_uv() const;

  std::vector<float> vertices;
  std::vector<float> normals;
  std::vector<float> uvs;
  std::vector<std::uint32_t> faces;
};

/// One triangle of a light source: corners, normal and area.
class ORV_HOST_CLASS orvSource_triangle {
 public:
  orvSource_triangle() = default;
  orvSource_triangle(const orvSource_triangle&) = default;
  orvSource_triangle(orvSource_triangle&&) noexcept = default;
  ~orvSource_triangle() = default;
  orvSource_triangle& operator=(const orvSource_triangle& other);
  orvSource_triangle& operator=(orvSource_triangle&& other) noexcept;

  double corners[3][3] = {};
  double normal[3] = {};
  double area = 0;
  std::uint32_t material = 0;
};

/// A pending edit of one node parameter.
class ORV_HOST_CLASS orvParameter_edit {
 public:
  orvParameter_edit() = default;
  orvParameter_edit(const orvParameter_edit& other);
  ~orvParameter_edit() = default;
  orvParameter_edit& operator=(const orvParameter_edit& other);

  std::string name;
  std::vector<float> values;
  std::uint32_t frame = 0;
};

/// A mesh as the host's tracer holds it: an identity and a transform. Trivially small.
class ORV_HOST_CLASS orvRT_mesh {
 public:
  orvRT_mesh() = default;
  orvRT_mesh(const orvRT_mesh& other);
  ~orvRT_mesh() = default;
  orvRT_mesh& operator=(const orvRT_mesh& other);

  std::uint64_t id = 0;
  double transform[12] = {1, 0, 0, 0, 0, 1, 0, 0, 0, 0, 1, 0};
};

/// Settings of the host's tracer.
class ORV_HOST_CLASS orvRT_utility {
 public:
  orvRT_utility() = default;
  orvRT_utility(const orvRT_utility&) = default;
  orvRT_utility(orvRT_utility&&) noexcept = default;
  ~orvRT_utility() = default;
  orvRT_utility& operator=(const orvRT_utility& other);
  orvRT_utility& operator=(orvRT_utility&& other) noexcept;

  std::uint32_t samples = 1;
  std::uint32_t depth = 1;
  float epsilon = 1e-4f;
};

ORV_HOST_INLINE orvTrimesh& orvTrimesh::operator=(const orvTrimesh& other) = default;
ORV_HOST_INLINE orvTrimesh& orvTrimesh::operator=(orvTrimesh&& other) noexcept = default;
ORV_HOST_INLINE bool orvTrimesh::has_normals() const { return !normals.empty(); }
ORV_HOST_INLINE bool orvTrimesh::has_uv() const { return !uvs.empty(); }

ORV_HOST_INLINE orvSource_triangle& orvSource_triangle::operator=(const orvSource_triangle& other) = default;
ORV_HOST_INLINE orvSource_triangle& orvSource_triangle::operator=(orvSource_triangle&& other) noexcept =
    default;

ORV_HOST_INLINE orvParameter_edit::orvParameter_edit(const orvParameter_edit& other) = default;
ORV_HOST_INLINE orvParameter_edit& orvParameter_edit::operator=(const orvParameter_edit& other) = default;

ORV_HOST_INLINE orvRT_mesh::orvRT_mesh(const orvRT_mesh& other) = default;
ORV_HOST_INLINE orvRT_mesh& orvRT_mesh::operator=(const orvRT_mesh& other) = default;

ORV_HOST_INLINE orvRT_utility& orvRT_utility::operator=(const orvRT_utility& other) = default;
ORV_HOST_INLINE orvRT_utility& orvRT_utility::operator=(orvRT_utility&& other) noexcept = default;
