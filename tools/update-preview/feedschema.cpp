#include "feedschema.h"

#include <QFile>
#include <QJsonObject>
#include <QJsonValue>
#include <valijson/adapters/qtjson_adapter.hpp>
#include <valijson/schema.hpp>
#include <valijson/schema_parser.hpp>
#include <valijson/validation_results.hpp>
#include <valijson/validator.hpp>

#include <algorithm>

namespace feedschema {

namespace {

using Path = QStringList;

QJsonObject schema()
{
    QFile file(QStringLiteral(":/update-preview/feed.schema.json"));
    file.open(QIODevice::ReadOnly);
    return QJsonDocument::fromJson(file.readAll()).object();
}

QJsonObject resolved(const QJsonObject &node, const QJsonObject &root)
{
    const QString reference = node[u"$ref"].toString();
    if (reference.isEmpty())
        return node;
    return root[u"definitions"].toObject()[reference.section(u'/', -1)].toObject();
}

/// The part of the schema for a place; empty where the schema has nothing to say.
QJsonObject schemaAt(const Path &path)
{
    const QJsonObject root = schema();
    QJsonObject node = root;
    for (const QString &key : path) {
        const QJsonObject properties = node[u"properties"].toObject();
        const QJsonValue next = properties.contains(key) ? properties[key] : node[u"additionalProperties"];
        node = resolved(next.toObject(), root);
    }
    return node;
}

QJsonValue valueAt(const QJsonDocument &document, const Path &path)
{
    QJsonValue value = document.isObject() ? QJsonValue(document.object()) : QJsonValue(document.array());
    for (const QString &key : path)
        value = value[key];
    return value;
}

QString pointerOf(const Path &path)
{
    QString pointer;
    for (const QString &key : path)
        pointer = memberPointer(pointer, key);
    return pointer;
}

/// A place as the validator names it: "<root>", then each key in brackets.
Path pathOf(const std::vector<std::string> &context)
{
    Path path;
    for (std::size_t index = 1; index < context.size(); ++index) {
        const QString step = QString::fromStdString(context[index]);
        path.append(step.mid(1, step.size() - 2));
    }
    return path;
}

QString described(const QJsonValue &value)
{
    constexpr int longestText = 40;
    switch (value.type()) {
    case QJsonValue::Null:
        return QStringLiteral("null");
    case QJsonValue::Bool:
        return value.toBool() ? QStringLiteral("true") : QStringLiteral("false");
    case QJsonValue::Double:
        return QStringLiteral("the number ") + QString::number(value.toDouble(), 'g', 10);
    case QJsonValue::String: {
        const QString text = value.toString();
        return QStringLiteral("the text \"%1\"").arg(text.size() > longestText ? text.left(longestText) + u'…' : text);
    }
    case QJsonValue::Array:
        return QStringLiteral("an array");
    default:
        return QStringLiteral("an object");
    }
}

QString wanted(const QJsonObject &node)
{
    const QString type = node[u"type"].toString();
    if (type == u"number")
        return QStringLiteral("a number from %1 to %2")
            .arg(node[u"minimum"].toInteger())
            .arg(node[u"maximum"].toInteger());
    return type == u"string" ? QStringLiteral("a text") : QStringLiteral("an object");
}

QString missingKeys(const QJsonObject &node, const QJsonObject &object)
{
    QStringList missing;
    for (const QJsonValue key : node[u"required"].toArray()) {
        if (!object.contains(key.toString()))
            missing.append(u'"' + key.toString() + u'"');
    }
    return missing.join(QStringLiteral(", "));
}

/// What is wrong at a place itself; empty if only something below it is.
QString fault(const QJsonDocument &document, const Path &path)
{
    const QJsonObject node = schemaAt(path);
    const QJsonValue value = valueAt(document, path);
    if (value.isObject() && node[u"type"].toString() == u"object") {
        const QString missing = missingKeys(node, value.toObject());
        return missing.isEmpty() ? QString()
                                 : QStringLiteral("The key %1 is missing: nobody is told anything.").arg(missing);
    }
    return QStringLiteral("Here stands %1 where %2 belongs.").arg(described(value), wanted(node));
}

std::vector<Path> faultyPlaces(const QJsonDocument &document)
{
    const QJsonValue schemaValue = schema();
    const valijson::adapters::QtJsonAdapter schemaAdapter(schemaValue);
    valijson::Schema compiled;
    valijson::SchemaParser().populateSchema(schemaAdapter, compiled);

    const QJsonValue value = valueAt(document, {});
    const valijson::adapters::QtJsonAdapter adapter(value);
    valijson::Validator validator(valijson::Validator::kStrongTypes);
    valijson::ValidationResults results;
    validator.validate(compiled, adapter, &results);
    std::vector<Path> places;
    for (const valijson::ValidationResults::Error &error : results)
        places.push_back(pathOf(error.context));
    std::sort(places.begin(), places.end());
    places.erase(std::unique(places.begin(), places.end()), places.end());
    return places;
}

} // namespace

Findings violations(const QJsonDocument &document)
{
    Findings findings;
    // The validator also reports every object around a fault.
    for (const Path &place : faultyPlaces(document)) {
        if (const QString words = fault(document, place); !words.isEmpty())
            findings.append({pointerOf(place), words});
    }
    return findings;
}

QStringList keysAt(const QString &pointer)
{
    return schemaAt(pointer.split(u'/', Qt::SkipEmptyParts))[u"properties"].toObject().keys();
}

} // namespace feedschema
