#pragma once

#include <QByteArray>
#include <QString>

#include <variant>

namespace orvanel {

/// What a web server answered.
struct HttpAnswer {
    /// 0 when what came back is not HTTP.
    int status = 0;
    /// Whole for status 200, empty for any other.
    QByteArray body;
};

/// Why no answer came: the end of a sentence for the user, with its full stop.
struct HttpFailure {
    QString description;
};

using HttpResult = std::variant<HttpAnswer, HttpFailure>;

} // namespace orvanel
