#include "database/close.h"

#include "database/block_cache.h"
#include "database/database_file.h"
#include "database/settings.h"
#include "database/working_file.h"
#include "shell/messages.h"
#include "shell/paths.h"

namespace mod2neu {

namespace {

// The absolute path may be longer than the paths that DeleteFileByName takes although the working
// copy could be made under its relative one.
void DeleteScratch(const std::string& path) {
    if (path.size() > kMaxTestedPath) {
        Files().Delete(path);
    } else {
        DeleteFileByName(path);
    }
}

}  // namespace

bool CloseModelSession() {
    return CloseDatabase();
}

bool CloseDatabase() {
    if (!IsDatabaseOpen()) {
        return true;
    }
    if (!WriteBack(kAllBuffers)) {
        return false;
    }
    FreeCache();
    CloseWorkingFile();
    if (IsScratchCopy() && CurrentDatabaseSettings().deleteScratchOnClose) {
        DeleteScratch(WorkingFilePath());
    }
    SetDatabaseClosed();
    return true;
}

}  // namespace mod2neu
