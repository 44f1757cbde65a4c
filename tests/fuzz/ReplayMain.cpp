// The main program without libFuzzer: reads the files in the folders that its arguments name.
#include "Fuzz.h"

#include <QDirIterator>
#include <QFile>

#include <cstdio>
#include <cstdlib>

int main(int argc, char** argv) {
    int count = 0;
    for (int i = 1; i < argc; ++i) {
        QDirIterator files(QFile::decodeName(argv[i]), QDir::Files | QDir::Hidden, QDirIterator::Subdirectories);
        while (files.hasNext()) {
            QFile file(files.next());
            if (!file.open(QIODevice::ReadOnly)) {
                std::fprintf(stderr, "%s cannot be read.\n", qPrintable(file.fileName()));
                return EXIT_FAILURE;
            }
            std::printf("%s\n", qPrintable(file.fileName()));
            std::fflush(stdout);
            orvanel::test::fuzz(file.readAll());
            count += 1;
        }
    }
    std::printf("%d inputs.\n", count);
    return count > 0 ? EXIT_SUCCESS : EXIT_FAILURE;
}
