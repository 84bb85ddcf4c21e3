#include "output/PrintedDocument.h"

#include <QFont>
#include <QTextDocument>

using namespace Qt::Literals::StringLiterals;

namespace output {

void subKeepCellsOnOneLine(QTextDocument& document) {
    document.setDefaultStyleSheet(u"td { white-space: nowrap; }"_s);
}

void fncPrepareForPaper(QTextDocument& document, const QString& html) {
    subKeepCellsOnOneLine(document);
    QFont font = document.defaultFont();
    font.setPointSize(8);
    document.setDefaultFont(font);
    document.setHtml(html);
}

void subPrintDocument(const QString& html, QPagedPaintDevice& device) {
    QTextDocument document;
    fncPrepareForPaper(document, html);
    document.print(&device);
}

} // namespace output
