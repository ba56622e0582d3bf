#pragma once

#include <QFont>
#include <QString>

#include <optional>

namespace plenda {

// The family Qt draws the system font's rounded design with, made available
// on first use; nothing where the system has none. The platform's part in the
// views' text, chosen when the program is built. Main thread only.
std::optional<QString> roundedSystemFamily();
// Where that family is one variable font, the point on its weight axis
// ('wght') that the system uses for `weight`; nothing where it is not.
std::optional<float> roundedWeightAxis(QFont::Weight weight);

}  // namespace plenda
