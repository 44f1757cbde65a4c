#pragma once

#include <QString>
#include <QTemporaryDir>

namespace orvanel::test {

/// A throw-away home for one test, in place of the user's settings, data and autostart entries as long as it lives.
class TestHome {
public:
    TestHome();
    ~TestHome();
    TestHome(const TestHome&) = delete;
    TestHome& operator=(const TestHome&) = delete;

    QString path(const QString& relative = {}) const;
    /// Writes a file, and makes the folders above it.
    QString write(const QString& relative, const QByteArray& content, bool executable = false) const;

private:
    QTemporaryDir m_folder;
};

} // namespace orvanel::test
