#include "recordset/CriteriaScanner.h"

#include "recordset/RecordsetError.h"

namespace rs::detail {

namespace {

bool isWordChar(QChar c) {
    return c.isLetterOrNumber() || c == u'_';
}

} // namespace

void CriteriaScanner::skipBlanks() {
    while (!atEnd() && text_[pos_].isSpace())
        ++pos_;
}

bool CriteriaScanner::take(QChar c) {
    if (atEnd() || text_[pos_] != c) return false;
    ++pos_;
    return true;
}

bool CriteriaScanner::takeKeyword(QStringView word) {
    const QStringView rest = text_.mid(pos_);
    if (!rest.startsWith(word, Qt::CaseInsensitive)) return false;
    if (rest.size() > word.size() && isWordChar(rest[word.size()])) return false;
    pos_ += word.size();
    return true;
}

bool CriteriaScanner::readUntil(QChar close, QString& out) {
    const qsizetype end = text_.indexOf(close, pos_);
    if (end < 0) return false;
    out = text_.mid(pos_, end - pos_).toString();
    pos_ = end + 1;
    return true;
}

QStringView CriteriaScanner::readBare(QStringView stops) {
    const qsizetype start = pos_;
    while (!atEnd() && !text_[pos_].isSpace() && !stops.contains(text_[pos_]))
        ++pos_;
    return text_.mid(start, pos_ - start);
}

QString CriteriaScanner::readFieldName(QStringView stops) {
    skipBlanks();
    QString name;
    if (take(u'[')) {
        if (!readUntil(u']', name)) fail(QStringLiteral("a field name is missing its ']'"));
        return name;
    }
    const QString where = here();
    name = readBare(stops).toString();
    if (name.isEmpty()) fail(QStringLiteral("expected a field name at %1").arg(where));
    return name;
}

QString CriteriaScanner::here() const {
    constexpr qsizetype kShown = 20;
    if (atEnd()) return QStringLiteral("the end");
    const QStringView rest = text_.mid(pos_);
    const QString shown = rest.left(kShown).toString();
    return u'\'' + shown + (rest.size() > kShown ? QStringLiteral("...'") : QStringLiteral("'"));
}

void CriteriaScanner::fail(const QString& problem) const {
    raiseBadArguments(what_.toString() + QStringLiteral(": ") + problem);
}

} // namespace rs::detail
