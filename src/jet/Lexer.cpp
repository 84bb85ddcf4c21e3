#include "jet/Lexer.h"

#include "vb/Convert.h"
#include "vb/VbError.h"

#include <charconv>
#include <cstdint>
#include <limits>
#include <string>
#include <string_view>

namespace jet {
namespace {

bool isAsciiDigit(QChar c) {
    return c >= u'0' && c <= u'9';
}
bool startsWord(QChar c) {
    return c.isLetter() || c == u'_';
}
bool continuesWord(QChar c) {
    return c.isLetterOrNumber() || c == u'_';
}

int radixDigit(QChar c, int radix) {
    const char16_t u = c.toLower().unicode();
    const int digit = u >= u'0' && u <= u'9'   ? u - u'0'
                      : u >= u'a' && u <= u'f' ? u - u'a' + 10
                                               : 99;
    return digit < radix ? digit : -1;
}

// Reads one token at a time; the cursor only moves forward, so every input comes to an end.
class Scanner {
public:
    explicit Scanner(const QString& text) : text_(text) {}

    std::vector<Token> run() {
        std::vector<Token> tokens;
        do {
            skipBlanks();
            tokens.push_back(next(tokens.empty() ? nullptr : &tokens.back()));
        } while (tokens.back().kind != TokenKind::End);
        return tokens;
    }

private:
    QChar at(qsizetype i) const { return i < text_.size() ? text_[i] : QChar(); }

    void skipBlanks() {
        while (pos_ < text_.size() && text_[pos_].isSpace())
            ++pos_;
    }

    Token make(TokenKind kind, qsizetype start) const {
        Token t;
        t.kind = kind;
        t.position = static_cast<int>(start);
        t.length = static_cast<int>(pos_ - start);
        t.text = text_.mid(start, pos_ - start);
        return t;
    }

    Token invalidToEnd(qsizetype start) {
        pos_ = text_.size();
        return make(TokenKind::Invalid, start);
    }

    Token next(const Token* previous) {
        if (pos_ >= text_.size()) return make(TokenKind::End, pos_);
        const QChar c = text_[pos_];
        if (c == u'\'' || c == u'"') return quoted(c);
        if (c == u'[') return bracketed();
        if (c == u'#') return date();
        // After a name, ".5" is a qualifier and a column, not a number.
        const bool afterName =
            previous && (previous->kind == TokenKind::Word || previous->kind == TokenKind::Name);
        if (isAsciiDigit(c) || (c == u'.' && isAsciiDigit(at(pos_ + 1)) && !afterName))
            return number();
        if (c == u'&' && radixLength() > 0) return radixNumber();
        if (startsWord(c)) return word();
        return symbol();
    }

    // A doubled quote inside stands for one.
    Token quoted(QChar quote) {
        const qsizetype start = pos_++;
        QString value;
        for (;;) {
            const qsizetype close = text_.indexOf(quote, pos_);
            if (close < 0) return invalidToEnd(start);
            value += QStringView(text_).mid(pos_, close - pos_);
            pos_ = close + 1;
            if (at(pos_) != quote) break;
            value += quote;
            ++pos_;
        }
        Token t = make(TokenKind::String, start);
        t.text = value;
        t.value = vb::Variant(std::move(value));
        return t;
    }

    Token bracketed() {
        const qsizetype start = pos_;
        const qsizetype close = text_.indexOf(u']', start + 1);
        if (close < 0) return invalidToEnd(start);
        pos_ = close + 1;
        if (close == start + 1) return make(TokenKind::Invalid, start);
        Token t = make(TokenKind::Name, start);
        t.text = text_.mid(start + 1, close - start - 1);
        return t;
    }

    Token date() {
        const qsizetype start = pos_;
        const qsizetype close = text_.indexOf(u'#', start + 1);
        if (close < 0) return invalidToEnd(start);
        pos_ = close + 1;
        const auto serial = vb::parseDate(QStringView(text_).mid(start + 1, close - start - 1),
                                          /*monthFirst=*/true);
        Token t = make(serial ? TokenKind::Date : TokenKind::Invalid, start);
        if (serial) t.value = vb::Variant::date(*serial);
        return t;
    }

    bool exponentFollows() const {
        const QChar e = at(pos_);
        if (e != u'e' && e != u'E') return false;
        const QChar sign = at(pos_ + 1);
        return isAsciiDigit(sign) || ((sign == u'+' || sign == u'-') && isAsciiDigit(at(pos_ + 2)));
    }

    // Whole numbers that fit 32 bits are Long; everything else is Double, read with a point
    // whatever the region.
    Token number() {
        const qsizetype start = pos_;
        std::string plain;
        auto digits = [&] {
            while (isAsciiDigit(at(pos_)))
                plain += static_cast<char>(text_[pos_++].unicode());
        };
        digits();
        bool whole = true;
        if (at(pos_) == u'.') {
            whole = false;
            plain += '.';
            ++pos_;
            digits();
        }
        if (exponentFollows()) {
            whole = false;
            plain += 'e';
            if (!isAsciiDigit(at(++pos_))) plain += static_cast<char>(text_[pos_++].unicode());
            digits();
        }
        Token t = make(TokenKind::Number, start);
        const char* first = plain.data();
        const char* last = first + plain.size();
        std::int64_t integer = 0;
        if (whole && std::from_chars(first, last, integer).ec == std::errc() &&
            integer <= std::numeric_limits<std::int32_t>::max()) {
            t.value = vb::Variant(static_cast<std::int32_t>(integer));
            return t;
        }
        double real = 0;
        const auto [end, ec] = std::from_chars(first, last, real);
        if (ec != std::errc() || end != last) t.kind = TokenKind::Invalid;
        t.value = vb::Variant(real);
        return t;
    }

    // The digits of &H1F or &O17 after the two marks; 0 when the text is no such number (as in
    // a & Hour, where & joins texts).
    qsizetype radixLength() const {
        const QChar kind = at(pos_ + 1).toUpper();
        const int radix = kind == u'H' ? 16 : kind == u'O' ? 8 : 0;
        if (radix == 0) return 0;
        qsizetype i = pos_ + 2;
        while (radixDigit(at(i), radix) >= 0)
            ++i;
        return continuesWord(at(i)) ? 0 : i - pos_ - 2;
    }

    Token radixNumber() {
        const qsizetype start = pos_;
        pos_ += 2 + radixLength();
        Token t = make(TokenKind::Number, start);
        try {
            const auto value = vb::parseNumber(t.text); // the language's reading of &H and &O
            if (value) {
                t.value = vb::Variant(static_cast<std::int32_t>(*value));
                return t;
            }
        } catch (const vb::VbError&) { // past 32 bits
        }
        t.kind = TokenKind::Invalid;
        return t;
    }

    // A trailing "$" belongs to the word: format$, ucase$.
    Token word() {
        const qsizetype start = pos_;
        while (continuesWord(at(pos_)))
            ++pos_;
        if (at(pos_) == u'$') ++pos_;
        return make(TokenKind::Word, start);
    }

    Token symbol() {
        const qsizetype start = pos_;
        for (const char16_t* pair : {u"<>", u"<=", u">="}) {
            if (QStringView(text_).mid(pos_).startsWith(QStringView(pair))) {
                pos_ += 2;
                return make(TokenKind::Symbol, start);
            }
        }
        static constexpr std::u16string_view kSingles = u"=<>+-*/\\^&(),.;!";
        const bool known = kSingles.find(text_[pos_].unicode()) != std::u16string_view::npos;
        ++pos_;
        Token t = make(known ? TokenKind::Symbol : TokenKind::Invalid, start);
        if (t.text == u"!") t.text = QStringLiteral("."); // tbl!col is tbl.col
        return t;
    }

    const QString& text_;
    qsizetype pos_ = 0;
};

constexpr const char16_t* kReservedWords[] = {
    u"ALL",    u"AND",   u"AS",       u"ASC",         u"BETWEEN", u"BY",    u"CREATE",
    u"DELETE", u"DESC",  u"DISTINCT", u"DISTINCTROW", u"DROP",    u"EQV",   u"EXISTS",
    u"FALSE",  u"FROM",  u"GROUP",    u"HAVING",      u"IMP",     u"IN",    u"INNER",
    u"INSERT", u"INTO",  u"IS",       u"JOIN",        u"LEFT",    u"LIKE",  u"MOD",
    u"NOT",    u"NULL",  u"ON",       u"OR",          u"ORDER",   u"OUTER", u"PERCENT",
    u"PIVOT",  u"RIGHT", u"SELECT",   u"SET",         u"TABLE",   u"TOP",   u"TRANSFORM",
    u"TRUE",   u"UNION", u"UPDATE",   u"VALUES",      u"WHERE",   u"WITH",  u"XOR",
};

} // namespace

std::vector<Token> tokenize(const QString& text) {
    return Scanner(text).run();
}

bool isReservedWord(QStringView word) {
    for (const char16_t* reserved : kReservedWords)
        if (word.compare(QStringView(reserved), Qt::CaseInsensitive) == 0) return true;
    return false;
}

bool needsBrackets(QStringView name) {
    if (name.isEmpty() || !startsWord(name.front())) return true;
    for (QChar c : name)
        if (!continuesWord(c)) return true;
    return isReservedWord(name);
}

} // namespace jet
