#pragma once

// Reads the small languages of Filter and Sort texts: blanks, keywords, field names.

#include <QString>
#include <QStringView>

namespace rs::detail {

class CriteriaScanner {
public:
    // what ("Filter", "Sort") starts every error message.
    CriteriaScanner(QStringView text, QStringView what) : text_(text), what_(what) {}

    void skipBlanks();
    bool atEnd() const { return pos_ >= text_.size(); }
    QChar peek() const { return atEnd() ? QChar() : text_[pos_]; }
    QChar next() { return text_[pos_++]; }
    // Consumes c when it comes next.
    bool take(QChar c);
    // Consumes the word, in any case, when it comes next as a whole word.
    bool takeKeyword(QStringView word);
    // Reads the text up to (not including) the next `close`; false, having read nothing, when
    // there is none.
    bool readUntil(QChar close, QString& out);
    // Reads characters up to a blank, one of stops or the end.
    QStringView readBare(QStringView stops);
    // A [bracketed name], which may hold blanks, or a bare name up to a blank or one of stops.
    QString readFieldName(QStringView stops);

    // Where reading stands, for messages: the next few characters quoted, or "the end".
    QString here() const;
    [[noreturn]] void fail(const QString& problem) const;

private:
    QStringView text_;
    QStringView what_;
    qsizetype pos_ = 0;
};

} // namespace rs::detail
