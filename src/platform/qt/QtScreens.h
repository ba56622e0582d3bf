#pragma once

#include "platform/Screens.h"

#include <optional>
#include <string_view>

namespace plenda {

// The screens Qt knows, converted to global coordinates with y up. Qt has no
// word of a camera housing, so no screen has auxiliary top areas, unless the
// environment variable PLENDA_FAKE_NOTCH describes one ("WxH@X": a notch W
// wide and H tall whose left edge is X points from the first screen's left
// edge) for development and pictures.
class QtScreens final : public Screens {
public:
    struct FakeNotch {
        double width = 0, height = 0, x = 0;
        bool operator==(const FakeNotch&) const = default;
    };

    QtScreens();
    explicit QtScreens(std::optional<FakeNotch> fakeNotch) : fakeNotch_(fakeNotch) {}

    std::vector<ScreenInfo> screens() const override;
    Subscription onChange(std::function<void()> changed) override;

    // "WxH@X" with positive numbers; nothing for anything else.
    static std::optional<FakeNotch> parseFakeNotch(std::string_view text);
    // Gives `screen` the auxiliary areas a notch of this size would leave.
    static void addNotch(ScreenInfo& screen, const FakeNotch& notch);

private:
    std::optional<FakeNotch> fakeNotch_;
};

}  // namespace plenda
