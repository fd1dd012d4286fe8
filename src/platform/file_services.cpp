#include "platform/file_services.h"

#include <utility>

#include "platform/posix_file_services.h"

namespace mod2neu {

namespace {

FileServices* replacement = nullptr;

}  // namespace

FileServices& Files() {
    if (replacement != nullptr) {
        return *replacement;
    }
    // Never destroyed: a static object that holds a file may be destroyed later.
    static auto& host = *new PosixFileServices;
    return host;
}

FileServices* SetFileServices(FileServices* services) {
    return std::exchange(replacement, services);
}

}  // namespace mod2neu
