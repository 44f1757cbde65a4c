#pragma once

#include <QByteArrayView>
#include <QString>

#include <string>

namespace orvanel {

/// UTF-8 with every invalid sequence replaced by U+FFFD. Nothing else is changed: a byte order mark stays.
QString decodeUtf8(QByteArrayView bytes);

/// The output of one run, bounded because an image download can print without end: as soon as it would hold more than
/// 2,000,000 bytes, only the last 1,000,000 are kept. Used by one thread.
class OutputBuffer {
public:
    void append(QByteArrayView chunk);

    qsizetype size() const { return static_cast<qsizetype>(m_bytes.size()); }
    /// All bytes kept, decoded as a whole; a character that the cut at the front split shows as U+FFFD.
    QString string() const;

private:
    std::string m_bytes;
};

} // namespace orvanel
