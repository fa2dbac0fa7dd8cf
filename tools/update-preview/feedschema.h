#pragma once

#include "finding.h"

#include <QJsonDocument>
#include <QStringList>

/**
 * The JSON Schema of the update-information document, packaging/update-feed.schema.json.
 */
namespace feedschema {

/// The places where a document does not keep to the schema, in words.
Findings violations(const QJsonDocument &document);

/// The keys that the schema names for the object at a place: "", "/Corvo9_version1", "/Corvo9_version1/messages".
QStringList keysAt(const QString &pointer);

} // namespace feedschema
