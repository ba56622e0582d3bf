#pragma once

#include <cstdint>
#include <vector>

namespace plenda::macos {

// One SF Symbol drawn into a square of `points` × `scale` pixels in one
// colour (sRGB components 0...1), as PNG bytes. `weight` is an AppKit font
// weight (-1 ultralight ... 1 black). Empty when the system has no such symbol.
std::vector<std::uint8_t> systemSymbolPNG(const char* name, double points, double weight, double red, double green,
                                          double blue, double alpha, double scale);

}  // namespace plenda::macos
