#include "ui/BundledIconProvider.h"

namespace plenda {

std::unique_ptr<IconProvider> makeSystemIconProvider() { return std::make_unique<BundledIconProvider>(); }

}  // namespace plenda
