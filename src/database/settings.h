#pragma once

#include <string>

namespace mod2neu {

// How the database engine works; read at every open.
struct DatabaseSettings {
    std::string scratchDirectory;  // empty: the directory for temporary files
    bool deleteScratchOnClose = true;
    bool workOnScratchCopy = true;
    int BlocksPerBuffer = 20;
    int MinBuffers = 25;   // cache buffers allocated at start
    int MaxBuffers = 250;  // upper limit of cache buffers
};

// The defaults until set otherwise.
const DatabaseSettings& CurrentDatabaseSettings();

// Takes effect at the next open.
void SetDatabaseSettings(const DatabaseSettings& settings);

}  // namespace mod2neu
