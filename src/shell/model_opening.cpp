#include "shell/model_opening.h"

#include <bit>
#include <cstdint>

#include "database/catalogue.h"
#include "database/database_file.h"
#include "database/settings.h"
#include "platform/desktop.h"
#include "shell/messages.h"
#include "shell/session.h"
#include "shell/status_window.h"
#include "shell/string_table.h"

namespace mod2neu {

namespace {

constexpr double kModelVersion = 6.0;

// No tolerance: a version that merely looks the same is another format or a damaged header.
bool IsModelVersion(double version) {
    return std::bit_cast<std::uint64_t>(version) == std::bit_cast<std::uint64_t>(kModelVersion);
}

}  // namespace

bool OpenModel() {
    CurrentSession().MessageCaption = LoadText(TextId::kCaption, kMaxCaption);
    SetDatabaseSettings({});
    LoadEntityTypeNames();
    CreateStatusWindow();
    TheDesktop().SetActiveWindow(CurrentSession().ParentWindow);
    DeclareCatalogue();
    if (!OpenDatabase()) {
        return false;
    }
    if (!IsModelVersion(DatabaseVersion())) {
        ShowMessage(MessageId::kVersion, {kModelVersion, DatabaseVersion()});
        return false;
    }
    return true;
}

}  // namespace mod2neu
