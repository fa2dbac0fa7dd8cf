#pragma once

#include <QJsonDocument>
#include <QString>

#include <optional>

/**
 * Who is offered what by a document, in words. Decided by the service's own rules.
 *
 * @param firmware  of the unit in question; if none, of units in general
 */
QString offersInWords(const QJsonDocument &document, const std::optional<QString> &firmware);
