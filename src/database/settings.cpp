#include "database/settings.h"

namespace mod2neu {

namespace {

DatabaseSettings currentSettings;

}  // namespace

const DatabaseSettings& CurrentDatabaseSettings() {
    return currentSettings;
}

void SetDatabaseSettings(const DatabaseSettings& settings) {
    currentSettings = settings;
}

}  // namespace mod2neu
