#pragma once

#include "platform/Screens.h"

#include <optional>

namespace plenda {

// One of a screen's areas beside a camera housing, as the system reported it,
// placed on `screen`. The system gives them in global coordinates; an area
// that lies on the screen only when taken relative to the screen's origin is
// moved there, so either reading finds the housing. An empty area (the
// system's answer for a screen without one) or one that does not lie on the
// screen either way gives nothing.
std::optional<Frame> auxiliaryAreaOnScreen(const Frame& screen, const Frame& area);

// The screen's two areas, both or neither.
void setAuxiliaryTopAreas(ScreenInfo& screen, const Frame& left, const Frame& right);

}  // namespace plenda
