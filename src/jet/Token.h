#pragma once

// The pieces query text is made of, and the dialect's operators with their binding strength.
// The parser reads by these tables and the printer writes by them, so that printed text reads
// back as the same tree.

#include "jet/Ast.h"
#include "vb/Variant.h"

#include <QString>
#include <QStringView>
#include <iterator>

namespace jet {

enum class TokenKind {
    End,     // after the last character
    Word,    // a name or keyword as written, a trailing "$" included (format$)
    Name,    // [a bracketed name]
    String,  // 'text' or "text"
    Number,  // a Long or a Double
    Date,    // #date#
    Symbol,  // an operator or punctuation
    Invalid, // an unterminated literal or bracket, an unreadable date, a stray character
};

struct Token {
    TokenKind kind = TokenKind::End;
    QString text;      // Word, Symbol: as written, except that "!" reads as "."; Name: without
                       // the brackets; String: the value
    vb::Variant value; // String, Number, Date
    int position = 0;  // offset of the first character in the query text
    int length = 0;    // characters it spans there

    int end() const { return position + length; }
    // A Word spelled so, in any letter case (a bracketed Name never is a keyword).
    bool isWord(QStringView word) const {
        return kind == TokenKind::Word && text.compare(word, Qt::CaseInsensitive) == 0;
    }
    bool isSymbol(QStringView symbol) const { return kind == TokenKind::Symbol && text == symbol; }
    // A word operator (MOD, AND) or a symbol (+, <>), whichever the spelling is.
    bool is(QStringView spelling) const {
        return spelling.front().isLetter() ? isWord(spelling) : isSymbol(spelling);
    }
};

// How tightly an operator binds, loosest first.
enum class Precedence {
    Imp,
    Eqv,
    Xor,
    Or,
    And,
    Not,
    Compare, // = <> < > <= >=, Like, Between, In, Is Null
    Concat,
    Additive,
    Mod,
    IntDivide,
    Multiplicative,
    Sign, // unary - and +
    Power,
    Primary,
};

constexpr Precedence tighter(Precedence p) {
    return p == Precedence::Primary ? p : static_cast<Precedence>(static_cast<int>(p) + 1);
}

struct OperatorSpelling {
    Op op;
    const char16_t* text;
    Precedence precedence;
};

// In the order of Op, so that an operator's entry sits at its own index.
inline constexpr OperatorSpelling kOperators[] = {
    {Op::Negate, u"-", Precedence::Sign},
    {Op::Plus, u"+", Precedence::Sign},
    {Op::Not, u"NOT", Precedence::Not},
    {Op::Power, u"^", Precedence::Power},
    {Op::Multiply, u"*", Precedence::Multiplicative},
    {Op::Divide, u"/", Precedence::Multiplicative},
    {Op::IntDivide, u"\\", Precedence::IntDivide},
    {Op::Mod, u"MOD", Precedence::Mod},
    {Op::Add, u"+", Precedence::Additive},
    {Op::Subtract, u"-", Precedence::Additive},
    {Op::Concat, u"&", Precedence::Concat},
    {Op::Equal, u"=", Precedence::Compare},
    {Op::NotEqual, u"<>", Precedence::Compare},
    {Op::Less, u"<", Precedence::Compare},
    {Op::Greater, u">", Precedence::Compare},
    {Op::LessEqual, u"<=", Precedence::Compare},
    {Op::GreaterEqual, u">=", Precedence::Compare},
    {Op::And, u"AND", Precedence::And},
    {Op::Or, u"OR", Precedence::Or},
    {Op::Xor, u"XOR", Precedence::Xor},
    {Op::Eqv, u"EQV", Precedence::Eqv},
    {Op::Imp, u"IMP", Precedence::Imp},
};
static_assert(std::size(kOperators) == static_cast<std::size_t>(Op::Imp) + 1);
static_assert(kOperators[static_cast<int>(Op::Imp)].op == Op::Imp);

constexpr const OperatorSpelling& spellingOf(Op op) {
    return kOperators[static_cast<int>(op)];
}

} // namespace jet
