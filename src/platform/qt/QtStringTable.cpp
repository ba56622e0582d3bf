#include "platform/qt/QtStringTable.h"

namespace plenda {

QString QtStringTable::lookup(std::string_view key) {
    const std::string id(key);
#ifndef __APPLE__
    const std::string variant = id + "@linux";
    if (QString text = qtTrId(variant.c_str()); text != QLatin1String(variant.c_str())) return text;
#endif
    return qtTrId(id.c_str());
}

std::string QtStringTable::text(std::string_view key) const { return lookup(key).toStdString(); }

}  // namespace plenda
