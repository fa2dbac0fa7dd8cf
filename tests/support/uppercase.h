#pragma once

#include <QByteArray>
#include <QString>
#include <QTranslator>

#include <utility>

/// Stands in for a translation of all texts of one context.
class UpperCase : public QTranslator
{
public:
    explicit UpperCase(QByteArray context)
        : m_context(std::move(context))
    {
    }

    QString translate(const char *context, const char *source, const char * /*disambiguation*/,
                      int /*count*/) const override
    {
        return m_context == context ? QString::fromUtf8(source).toUpper() : QString();
    }

    bool isEmpty() const override { return false; }

private:
    QByteArray m_context;
};
