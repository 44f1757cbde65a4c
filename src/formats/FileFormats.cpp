#include "formats/FileFormats.h"

#include "formats/DatabaseFile.h"
#include "formats/ZipFile.h"

const orvanel::FileFormats* orvanelFileFormats1() {
    static constexpr orvanel::FileFormats formats{&orvanel::listZip, &orvanel::checkDatabaseFile,
                                                  &orvanel::readSetting};
    return &formats;
}
