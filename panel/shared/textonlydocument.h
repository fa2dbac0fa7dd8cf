#pragma once

#include <QTextDocument>

/**
 * Rich text that loads nothing. Messages come from the network, and a document of Qt would open whatever they name as a
 * picture or a style sheet: a pipe, which never ends, or a folder of another machine, which gets the user's credentials
 * on Windows. Here such things are left out; text, its formats and links stay.
 *
 * Trips people: a widget makes a document of its own, so give it this one (QTextEdit::setDocument()). Rests on
 * QTextDocument.
 */
class TextOnlyDocument : public QTextDocument
{
    Q_OBJECT

public:
    /// @param parent  owner, or null
    explicit TextOnlyDocument(QObject *parent = nullptr);

protected:
    /// Gives nothing, whatever is asked for.
    QVariant loadResource(int type, const QUrl &name) override;
};
