#include "ui/SystemFonts.h"
#include "ui/ViewFixture.h"

#include <QFontInfo>
#include <QFontMetricsF>

#include <gtest/gtest.h>

namespace plenda {
namespace {

class ViewFonts : public ViewFixture {};

// Every font the views ask for equal-width digits: the ten digits advance
// alike, so a live total or a duration keeps its width as it counts.
TEST_F(ViewFonts, AskedDigitsHaveEqualWidths) {
    const std::vector<std::pair<const char*, QFont>> fonts{
        {"notch total", roundedFont(22, QFont::Bold)},    {"menu total", roundedFont(30, QFont::Bold)},
        {"row duration", roundedFont(14, QFont::DemiBold)}, {"row span", systemFont(11)},
        {"menu duration", systemFont(11, QFont::Medium)},   {"notch chip", systemFont(10)}};
    for (const auto& [name, font] : fonts) {
        const QFontMetricsF metrics(tabularDigits(font));
        const double zero = metrics.horizontalAdvance(QStringLiteral("0"));
        EXPECT_GT(zero, 0) << name;
        for (char digit = '1'; digit <= '9'; ++digit) {
            EXPECT_NEAR(metrics.horizontalAdvance(QString(QLatin1Char(digit))), zero, 0.01) << name << " " << digit;
        }
        EXPECT_NEAR(metrics.horizontalAdvance(QStringLiteral("1h 11m")),
                    metrics.horizontalAdvance(QStringLiteral("8h 08m")), 0.01)
            << name;
    }
}

TEST_F(ViewFonts, RoundedDesignComesFromThePlatformHook) {
    const QFont rounded = roundedFont(14, QFont::DemiBold);
    EXPECT_EQ(rounded.pixelSize(), 14);
    EXPECT_EQ(rounded.weight(), QFont::DemiBold);
    if (const auto family = roundedSystemFamily()) {
        ASSERT_FALSE(rounded.families().isEmpty());
        EXPECT_EQ(rounded.families().front(), *family);
    } else {
        EXPECT_EQ(QFontInfo(rounded).family(), QFontInfo(systemFont(14, QFont::DemiBold)).family());
    }
}

}  // namespace
}  // namespace plenda
