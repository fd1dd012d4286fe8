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
    static PosixFileServices host;
    return host;
}

FileServices* SetFileServices(FileServices* services) {
    return std::exchange(replacement, services);
}

}  // namespace mod2neu
