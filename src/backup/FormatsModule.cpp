#include "backup/FormatsModule.h"

#include "process/AppError.h"

#include <dlfcn.h>

using namespace Qt::StringLiterals;

namespace orvanel {

const FileFormats& fileFormats() {
    static const FileFormats& loaded = loadFormats("orvanel-formats.so");
    return loaded;
}

/// The dynamic linker looks where the program says that its module lies (CMAKE_BUILD_RPATH, INSTALL_RPATH).
const FileFormats& loadFormats(const char* module) {
    void* const handle = ::dlopen(module, RTLD_NOW | RTLD_LOCAL);
    if (handle == nullptr) {
        throw AppError(u"Orvanel is not installed completely: %1"_s.arg(QString::fromLocal8Bit(::dlerror())));
    }
    void* const symbol = ::dlsym(handle, "orvanelFileFormats1");
    if (symbol == nullptr) {
        throw AppError(u"Orvanel was updated while it was running. Quit it and start it again."_s);
    }
    return *reinterpret_cast<decltype(&orvanelFileFormats1)>(symbol)();
}

} // namespace orvanel
