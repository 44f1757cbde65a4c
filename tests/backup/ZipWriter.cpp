#include "ZipWriter.h"

#include <QtEndian>

namespace orvanel::test {
namespace {

template <class Number>
void append(QByteArray& bytes, Number number) {
    const Number little = qToLittleEndian(number);
    bytes.append(reinterpret_cast<const char*>(&little), sizeof little);
}

quint32 crc32(const QByteArray& bytes) {
    quint32 sum = 0xFFFFFFFF;
    for (const char byte : bytes) {
        sum ^= static_cast<quint8>(byte);
        for (int bit = 0; bit < 8; ++bit) {
            sum = (sum >> 1) ^ ((sum & 1) != 0 ? 0xEDB88320 : 0);
        }
    }
    return ~sum;
}

/// What the local header and the list at the end have in common: from the required version to the length of the name.
QByteArray commonPart(const ZipEntry& entry) {
    QByteArray bytes;
    append<quint16>(bytes, 45);
    append<quint16>(bytes, 0x800); // names are UTF-8
    append<quint16>(bytes, 0);     // stored
    append<quint32>(bytes, 0x5A210000);
    append<quint32>(bytes, crc32(entry.content));
    append<quint32>(bytes, entry.saidSize ? 0xFFFFFFFF : static_cast<quint32>(entry.content.size()));
    append<quint32>(bytes, entry.saidSize ? 0xFFFFFFFF : static_cast<quint32>(entry.content.size()));
    append<quint16>(bytes, static_cast<quint16>(entry.name.size()));
    return bytes;
}

QByteArray extraPart(const ZipEntry& entry) {
    QByteArray bytes;
    if (entry.saidSize) {
        append<quint16>(bytes, 1);
        append<quint16>(bytes, 16);
        append<quint64>(bytes, *entry.saidSize);
        append<quint64>(bytes, static_cast<quint64>(entry.content.size()));
    }
    return bytes;
}

} // namespace

QByteArray zipOf(const QList<ZipEntry>& entries) {
    QByteArray zip;
    QByteArray list;
    for (const ZipEntry& entry : entries) {
        const QByteArray extra = extraPart(entry);
        list.append("PK\x01\x02");
        append<quint16>(list, 3 << 8 | 45); // from a Unix system
        list.append(commonPart(entry));
        append<quint16>(list, static_cast<quint16>(extra.size()));
        append<quint16>(list, 0);
        append<quint16>(list, 0);
        append<quint16>(list, 0);
        append<quint32>(list, static_cast<quint32>(entry.mode) << 16);
        append<quint32>(list, static_cast<quint32>(zip.size()));
        list.append(entry.name).append(extra);

        zip.append("PK\x03\x04").append(commonPart(entry));
        append<quint16>(zip, static_cast<quint16>(extra.size()));
        zip.append(entry.name).append(extra).append(entry.content);
    }
    const auto offset = static_cast<quint32>(zip.size());
    zip.append(list).append("PK\x05\x06");
    append<quint32>(zip, 0);
    append<quint16>(zip, static_cast<quint16>(entries.size()));
    append<quint16>(zip, static_cast<quint16>(entries.size()));
    append<quint32>(zip, static_cast<quint32>(list.size()));
    append<quint32>(zip, offset);
    append<quint16>(zip, 0);
    return zip;
}

} // namespace orvanel::test
