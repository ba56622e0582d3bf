#pragma once

class QCoreApplication;

namespace plenda {

// Installs the English string table compiled into the program; false when it
// could not be loaded (every lookup then shows its key).
bool installTranslations(QCoreApplication& application);

}  // namespace plenda
