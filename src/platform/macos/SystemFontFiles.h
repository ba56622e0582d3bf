#pragma once

#include <string>

namespace plenda::macos {

// The path of the file holding the rounded design of the system font, so that
// Qt can load it as an application font; empty when the system has no such
// design or it does not live in a file.
std::string roundedSystemFontFile();

}  // namespace plenda::macos
