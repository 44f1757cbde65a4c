#pragma once

#include <QString>

#include <exception>
#include <stop_token>

namespace orvanel {

/// A failure that Orvanel itself noticed, worded for the user. Only the backup operations throw it.
class AppError final : public std::exception {
public:
    explicit AppError(QString message)
        : m_message(std::move(message))
        , m_utf8(m_message.toUtf8()) {}

    const QString& message() const { return m_message; }
    const char* what() const noexcept override { return m_utf8.constData(); }

private:
    QString m_message;
    QByteArray m_utf8;
};

/// Thrown by an operation that was asked to stop and had changed nothing yet.
class Cancelled final : public std::exception {
public:
    const char* what() const noexcept override { return "Cancelled."; }
};

inline void throwIfStopped(const std::stop_token& stop) {
    if (stop.stop_requested()) {
        throw Cancelled();
    }
}

} // namespace orvanel
