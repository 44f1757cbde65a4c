#include "backup/ZipListing.h"

#include <QFile>
#include <QtEndian>

#include <algorithm>
#include <limits>

namespace orvanel {
namespace {

// The layout is that of PKWARE's application note 6.3, sections 4.3.12 to 4.3.16 and 4.5.3.
constexpr int endSize = 22;
constexpr int locatorSize = 20;
constexpr int end64Size = 56;
constexpr int entrySize = 46;
constexpr quint32 inZip64 = 0xFFFFFFFF;

template <class Number>
Number numberAt(QByteArrayView bytes, qsizetype offset) {
    return qFromLittleEndian<Number>(bytes.data() + offset);
}

/// Where the entries are told.
struct Directory {
    quint64 offset = 0;
    quint64 size = 0;
};

QByteArray readAt(QFile& file, qint64 offset, qint64 size) {
    if (offset < 0 || !file.seek(offset)) {
        return {};
    }
    return file.read(size);
}

std::optional<Directory> readEnd64(QFile& file, qint64 end) {
    const QByteArray locator = readAt(file, end - locatorSize, locatorSize);
    if (locator.size() < locatorSize || !locator.startsWith("PK\x06\x07")) {
        return std::nullopt;
    }
    const auto offset = numberAt<quint64>(locator, 8);
    if (offset > static_cast<quint64>(end)) {
        return std::nullopt;
    }
    const QByteArray end64 = readAt(file, static_cast<qint64>(offset), end64Size);
    if (end64.size() < end64Size || !end64.startsWith("PK\x06\x06")) {
        return std::nullopt;
    }
    return Directory{.offset = numberAt<quint64>(end64, 48), .size = numberAt<quint64>(end64, 40)};
}

std::optional<Directory> findDirectory(QFile& file) {
    constexpr qint64 longestComment = 65535;
    const qint64 begin = std::max<qint64>(0, file.size() - longestComment - endSize);
    const QByteArray tail = readAt(file, begin, longestComment + endSize);
    const qsizetype at = tail.size() < endSize ? -1 : tail.lastIndexOf("PK\x05\x06", tail.size() - endSize);
    if (at < 0) {
        return std::nullopt;
    }
    const Directory directory{.offset = numberAt<quint32>(tail, at + 16), .size = numberAt<quint32>(tail, at + 12)};
    const bool isZip64 =
        directory.offset == inZip64 || directory.size == inZip64 || numberAt<quint16>(tail, at + 10) == 0xFFFF;
    if (isZip64) {
        const auto large = readEnd64(file, begin + at);
        return large ? large : directory;
    }
    return directory;
}

quint64 sizeInExtra(QByteArrayView extra) {
    constexpr quint16 zip64Field = 1;
    while (extra.size() >= 4) {
        const auto length = numberAt<quint16>(extra, 2);
        if (numberAt<quint16>(extra, 0) == zip64Field && length >= 8 && extra.size() >= 12) {
            return numberAt<quint64>(extra, 4);
        }
        extra = extra.sliced(std::min<qsizetype>(extra.size(), 4 + length));
    }
    return inZip64;
}

/// The next bytes of the file; none when it ends before.
std::optional<QByteArray> readNext(QFile& file, qint64 size) {
    QByteArray bytes = file.read(size);
    return bytes.size() == size ? std::optional(std::move(bytes)) : std::nullopt;
}

/// None when the `size` bytes from where the file stands are no such list, or cannot be read. They are not mapped: an
/// archive that shrinks meanwhile, or a disk that fails, would then end the program.
std::optional<ZipListing> addUp(QFile& file, qint64 size) {
    constexpr quint64 most = std::numeric_limits<qint64>::max();
    ZipListing listing;
    quint64 sum = 0;
    while (size > 0) {
        const auto entry = readNext(file, entrySize);
        if (!entry || !entry->startsWith("PK\x01\x02")) {
            return std::nullopt;
        }
        const qint64 name = numberAt<quint16>(*entry, 28);
        const qint64 extra = numberAt<quint16>(*entry, 30);
        const qint64 rest = name + extra + numberAt<quint16>(*entry, 32);
        size -= entrySize + rest;
        const auto words = readNext(file, rest);
        if (size < 0 || !words) {
            return std::nullopt;
        }
        const auto told = numberAt<quint32>(*entry, 24);
        const quint64 bytes = told == inZip64 ? sizeInExtra(QByteArrayView(*words).sliced(name, extra)) : told;
        sum = bytes > most - sum ? most : sum + bytes;
        ++listing.entries;
    }
    listing.bytes = static_cast<qint64>(sum);
    return listing;
}

} // namespace

std::optional<ZipListing> readZipListing(const QString& archive) {
    QFile file(archive);
    if (!file.open(QIODevice::ReadOnly)) {
        return std::nullopt;
    }
    const auto directory = findDirectory(file);
    const auto size = static_cast<quint64>(file.size());
    if (!directory || directory->offset > size || directory->size > size - directory->offset) {
        return std::nullopt;
    }
    if (!file.seek(static_cast<qint64>(directory->offset))) {
        return std::nullopt;
    }
    return addUp(file, static_cast<qint64>(directory->size));
}

bool beginsLikeZip(const QString& archive) {
    QFile file(archive);
    return file.open(QIODevice::ReadOnly) && file.read(2) == "PK";
}

} // namespace orvanel
