#pragma once

#include <QJsonDocument>
#include <QString>

#include <optional>

/**
 * Who is offered what by a document, told in words. Decided by the service's own rules.
 *
 * @param firmware  that of the unit in question; none: of units in general
 */
QString offersInWords(const QJsonDocument &document, const std::optional<QString> &firmware);
