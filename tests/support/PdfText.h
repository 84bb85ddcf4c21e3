#pragma once

// A PDF read back by poppler's pdftotext, which nobody here wrote: each page's words with their
// boxes (in points from the page's top left), and the page as laid-out text.

#include <QProcess>
#include <QRegularExpression>
#include <QString>
#include <QStringList>
#include <vector>

namespace testsupport {

struct PdfWord {
    QString text;
    double left = 0, top = 0, right = 0, bottom = 0;
    double centre() const { return (left + right) / 2; }
};

struct PdfPage {
    double width = 0, height = 0;
    std::vector<PdfWord> words;

    // The words whose box tops lie within a point of the word `text`'s, left to right.
    QStringList lineOf(const QString& text) const {
        for (const PdfWord& word : words)
            if (word.text == text) return lineAt(word.top);
        return {};
    }
    QStringList lineAt(double top) const {
        QStringList out;
        for (const PdfWord& word : words)
            if (std::abs(word.top - top) < 1) out << word.text;
        return out;
    }
    const PdfWord* find(const QString& text) const {
        for (const PdfWord& word : words)
            if (word.text == text) return &word;
        return nullptr;
    }
};

inline QString runPdftotext(const QStringList& arguments) {
    QProcess process;
    process.start(QStringLiteral("pdftotext"), arguments);
    process.waitForFinished(120000);
    return QString::fromUtf8(process.readAllStandardOutput());
}

inline std::vector<PdfPage> pdfPages(const QString& path) {
    static const QRegularExpression page(
        QStringLiteral(R"re(<page width="([\d.]+)" height="([\d.]+)">(.*?)</page>)re"),
        QRegularExpression::DotMatchesEverythingOption);
    static const QRegularExpression word(QStringLiteral(
        R"re(<word xMin="([\d.]+)" yMin="([\d.]+)" xMax="([\d.]+)" yMax="([\d.]+)">(.*?)</word>)re"));
    std::vector<PdfPage> pages;
    const QString html = runPdftotext({QStringLiteral("-bbox"), path, QStringLiteral("-")});
    for (const auto& p : page.globalMatch(html)) {
        PdfPage out{p.captured(1).toDouble(), p.captured(2).toDouble(), {}};
        for (const auto& w : word.globalMatch(p.captured(3)))
            out.words.push_back({w.captured(5)
                                     .replace(QStringLiteral("&amp;"), QStringLiteral("&"))
                                     .replace(QStringLiteral("&lt;"), QStringLiteral("<"))
                                     .replace(QStringLiteral("&gt;"), QStringLiteral(">")),
                                 w.captured(1).toDouble(), w.captured(2).toDouble(),
                                 w.captured(3).toDouble(), w.captured(4).toDouble()});
        pages.push_back(std::move(out));
    }
    return pages;
}

// The pages as `pdftotext -layout` lays them out, split at form feeds.
inline QStringList pdfLayoutPages(const QString& path) {
    QStringList pages =
        runPdftotext({QStringLiteral("-layout"), path, QStringLiteral("-")}).split(QChar(u'\f'));
    if (!pages.isEmpty() && pages.last().trimmed().isEmpty()) pages.removeLast();
    return pages;
}

} // namespace testsupport
