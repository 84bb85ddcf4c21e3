#include "vb/Strings.h"

#include "vb/VbError.h"

namespace vb {

namespace {

// The length is kept in a 16-bit signed number; a longer text overflows it.
void measure(const QString& text) {
    if (text.size() > 32767) raise(err::Overflow);
}

} // namespace

QString fncReplace(QString text, const QString& find, const QString& replaceWith) {
    measure(text);
    // An empty search text would match at every position forever; there is nothing to replace.
    if (find.isEmpty()) return text;
    const bool lengthsDiffer = find.size() != replaceWith.size();
    qsizetype p = text.indexOf(find, 0, Qt::CaseInsensitive);
    while (p >= 0) {
        text.replace(p, find.size(), replaceWith);
        if (lengthsDiffer) measure(text);
        p = text.indexOf(find, p + replaceWith.size(), Qt::CaseInsensitive);
    }
    return text;
}

QString escapeLineField(QStringView text) {
    QString out;
    out.reserve(text.size());
    for (const QChar c : text) {
        switch (c.unicode()) {
        case u'\\':
            out += QStringLiteral("\\\\");
            break;
        case u'\t':
            out += QStringLiteral("\\t");
            break;
        case u'\n':
            out += QStringLiteral("\\n");
            break;
        case u'\r':
            out += QStringLiteral("\\r");
            break;
        default:
            out += c;
        }
    }
    return out;
}

} // namespace vb
