#pragma once

#include "statuspage/HttpReader.h"
#include "statuspage/StatusPageResult.h"

#include <QJsonDocument>

#include <variant>

namespace orvanel {

/// The JSON document of one answer, an object or an array; or the sentence that says why there is none.
using JsonResult = std::variant<QJsonDocument, StatusPageError>;
JsonResult readJson(const HttpResult& result);

/// Reads the page `slug` from the server's two answers: the page itself and the heartbeats of its monitors.
StatusPageResult readStatusPage(const QJsonDocument& page, const QJsonDocument& heartbeats, const QString& slug);

} // namespace orvanel
