#include "platform/qt/QtStringTable.h"

#include <QString>

namespace plenda {

std::string QtStringTable::text(std::string_view key) const {
    const std::string id(key);
    return qtTrId(id.c_str()).toStdString();
}

}  // namespace plenda
