#include "textonlydocument.h"

#include <QAbstractTextDocumentLayout>
#include <QTextObjectInterface>

namespace {

/// Takes the place of pictures. Qt's own handler opens a file itself when the document gives it nothing.
class NoPicture : public QObject, public QTextObjectInterface
{
    Q_OBJECT
    Q_INTERFACES(QTextObjectInterface)

public:
    using QObject::QObject;

    QSizeF intrinsicSize(QTextDocument * /*document*/, int /*position*/, const QTextFormat & /*format*/) override
    {
        return {0, 0};
    }

    void drawObject(QPainter * /*painter*/, const QRectF & /*place*/, QTextDocument * /*document*/, int /*position*/,
                    const QTextFormat & /*format*/) override
    {
    }
};

} // namespace

TextOnlyDocument::TextOnlyDocument(QObject *parent)
    : QTextDocument(parent)
{
    documentLayout()->registerHandler(QTextFormat::ImageObject, new NoPicture(this));
}

QVariant TextOnlyDocument::loadResource(int /*type*/, const QUrl & /*name*/)
{
    return {};
}

#include "textonlydocument.moc"
