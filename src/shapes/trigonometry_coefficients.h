#pragma once

/// What the painter's trigonometry is made of, for the kernels and for those who reckon with their rounding.
namespace orv::hdri::blockedAVX2 {

inline constexpr float kPi = 3.1415927f;         ///< 0x40490fdb
inline constexpr float kTwoPi = 6.2831855f;      ///< 0x40c90fdb
inline constexpr float kHalfPi = 1.5707964f;     ///< 0x3fc90fdb
inline constexpr float kInvPi = 0.31830987f;     ///< 1 / pi
inline constexpr float kInvTwoPi = 0.15915494f;  ///< 1 / (2 pi)

/// Coefficients of cos r and sin r / r in powers of r^2, highest first.
inline constexpr float kCosCoefficients[] = {-2.5963018e-7f, 2.4756235e-5f, -0.001388833f,
                                             0.04166664f,    -0.5f,         1.0f};
inline constexpr float kSinCoefficients[] = {-2.5029328e-8f, 2.7600126e-6f, -0.00019842605f,
                                             0.008333348f,   -0.16666667f,  1.0f};
/// Coefficients of arccos a / sqrt(1 - a) in powers of a, highest first.
inline constexpr float kArccosCoefficients[] = {-0.0043095737f, 0.0192803f,   -0.04489909f,
                                                0.08785567f,    -0.21450998f, 1.5707952f};
/// Coefficients of arctan z / z in powers of z^2, highest first.
inline constexpr float kArctanCoefficients[] = {-0.0046721357f, 0.024172833f, -0.0593665f,  0.099050835f,
                                                -0.14015688f,   0.19968921f,  -0.33331916f, 0.9999999f};
/// Coefficients of (exp r - 1 - r) / r^2 in powers of r, highest first.
inline constexpr float kExpCoefficients[] = {0.00019875691f, 0.0013981999f, 0.008333452f,
                                             0.041665796f,   0.16666666f,   0.5f};

}  // namespace orv::hdri::blockedAVX2
