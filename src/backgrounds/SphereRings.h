#pragma once

#include <cstddef>
#include <cstdint>
#include <functional>
#include <vector>

namespace orv::hdri::blockedAVX2 {

/// The rows of a map as rings of the sphere, in pairs: ring i of the northern half and its mirror image,
/// row height - 1 - i. The middle row of an odd height is a pair with itself. Values go on past the pairs to
/// whole groups of four and of sixteen, with rings of no area.
struct SphereRings {
  SphereRings(std::uint32_t mapWidth, std::uint32_t mapHeight);

  std::uint32_t width;
  std::uint32_t height;
  std::uint32_t pairs;             ///< rows from the pole to the equator, the middle one too
  std::uint32_t groups;            ///< of four pairs, a multiple of four
  std::vector<double> polarAngle;  ///< theta = (i + 1/2) / height pi
  std::vector<double> cosine;      ///< of theta
  std::vector<double> sine;        ///< of theta
  std::vector<double> pixelArea;   ///< solid angle of one pixel, steradians; 0 past the pairs
};

/// Finds the scale D of each pair for which  D(i) sum over j of K(i, j) area(j) D(j) = 1,  to 1e-12: what is
/// scaled by D, weighted by area and filtered by K, and scaled by D again keeps constants and, because K is
/// symmetric, the light (Sinkhorn and Knopp 1967). `filter(in, out)` makes the sums over j for values that
/// are weighted already; K's eigenvalues times area D^2 lie in [0, 1].
std::vector<double> balancingScale(
    const SphereRings& rings,
    const std::function<void(const std::vector<double>& in, std::vector<double>& out)>& filter);

}  // namespace orv::hdri::blockedAVX2
