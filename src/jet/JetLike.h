#pragma once

#include <QStringView>
#include <bitset>
#include <cstddef>
#include <cstdint>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

// Text as the dialect compares it: letter case never matters, in LIKE and in sorting alike. Both
// run once per row over large tables, so plain ASCII (nearly every text a till writes) is handled
// on its bytes and only other text goes through QString.
namespace jet {

bool isAscii(std::string_view text);

// <0, 0, >0 for two UTF-8 texts, ignoring case exactly as QString::compare(a, b,
// Qt::CaseInsensitive) does; what the jet_text collation sorts and compares with.
int compareTextIgnoringCase(std::string_view a, std::string_view b);

// A LIKE pattern with the ANSI wildcards the site's ADO connections use: % any run of characters
// (none included), _ exactly one character, [abc] [a-z] one character of a set, [!abc] one
// character outside it. * ? and # are ordinary characters. Case never matters.
//
// A [ without a closing ] is an ordinary [, and [] stands for no character at all, so "a[]b" is
// "ab". A range written backwards ([z-a]) raises 93 (Invalid pattern string).
//
// Matching never backtracks: the runs between % signs hold a fixed number of characters, so each
// is taken at its first fit, left to right (a plain substring search when the run has no _ and no
// set). Hostile patterns such as %a%a%a%a%b cost at most text length times pattern length.
class LikePattern {
public:
    explicit LikePattern(QStringView pattern);

    bool matches(QStringView text) const;
    bool matchesUtf8(std::string_view text) const;

private:
    struct CharSet {
        std::vector<std::pair<char32_t, char32_t>> ranges;
        bool negated = false;
        std::bitset<128> ascii; // the answer for every folded ASCII character

        bool inRanges(char32_t c) const;
        bool contains(char32_t folded) const;
    };
    enum class AtomKind : std::uint8_t { Char, Any, Set };
    struct Atom {
        AtomKind kind;
        char32_t ch; // Char: the folded character; Set: the index into sets_
    };
    // The atoms between two % signs.
    struct Piece {
        std::size_t first = 0;
        std::size_t count = 0;
        bool literal = true;   // only Char atoms, so a plain substring search finds it
        bool asciiOnly = true; // literal and ASCII: the byte search on ASCII text applies
        std::string asciiText;
        std::u32string text;
    };

    void compile(const std::u32string& pattern);
    std::size_t parseSet(const std::u32string& pattern, std::size_t open);
    void addAtom(Atom atom);

    template <typename Char> bool matchFolded(std::basic_string_view<Char> text) const;
    template <typename Char>
    bool pieceAt(const Piece& piece, std::basic_string_view<Char> text, std::size_t pos) const;
    template <typename Char>
    std::size_t findPiece(const Piece& piece, std::basic_string_view<Char> text, std::size_t from,
                          std::size_t limit) const;

    std::vector<Atom> atoms_;
    std::vector<CharSet> sets_;
    std::vector<Piece> pieces_ = std::vector<Piece>(1); // one more than there are % signs
    std::size_t minLength_ = 0;
};

} // namespace jet
