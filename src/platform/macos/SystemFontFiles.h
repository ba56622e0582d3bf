#pragma once

#include <optional>
#include <string>

namespace plenda::macos {

// The path of the file holding the rounded design of the system font, so that
// Qt can load it as an application font; empty when the system has no such
// design or it does not live in a file.
std::string roundedSystemFontFile();

// The value of the rounded design's weight axis ('wght') at an AppKit font
// weight (-1 ultralight ... 1 black): the file holds one variable font, whose
// weights are points on that axis. Nothing when the font has no such axis.
std::optional<double> roundedSystemFontWeightAxis(double appKitWeight);

}  // namespace plenda::macos
