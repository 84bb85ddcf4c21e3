#include "jet/JetLike.h"

#include "jet/JetError.h"
#include "vb/VbError.h"

#include <QChar>
#include <QString>
#include <algorithm>
#include <cstring>
#include <type_traits>

namespace jet {

namespace {

constexpr int kInvalidPatternString = 93;

char foldAscii(char c) {
    return c >= 'A' && c <= 'Z' ? static_cast<char>(c + ('a' - 'A')) : c;
}

char32_t codeOf(char c) {
    return static_cast<unsigned char>(c);
}
char32_t codeOf(char32_t c) {
    return c;
}

// Code points of a UTF-16 text; a lone surrogate stays as it is.
void appendCodePoints(QStringView text, std::u32string& out, bool fold) {
    for (qsizetype i = 0; i < text.size(); ++i) {
        char32_t c = text[i].unicode();
        if (QChar::isHighSurrogate(c) && i + 1 < text.size() && text[i + 1].isLowSurrogate()) {
            c = QChar::surrogateToUcs4(text[i], text[i + 1]);
            ++i;
        }
        out.push_back(fold ? QChar::toCaseFolded(c) : c);
    }
}

// Per-thread scratch for folded texts, so matching a row allocates nothing once warmed up.
std::string& asciiScratch() {
    thread_local std::string buffer;
    return buffer;
}
std::u32string& wideScratch() {
    thread_local std::u32string buffer;
    return buffer;
}

int sign(int c) {
    return (c > 0) - (c < 0);
}

} // namespace

bool isAscii(std::string_view text) {
    std::size_t i = 0;
    for (; i + 8 <= text.size(); i += 8) {
        std::uint64_t word;
        std::memcpy(&word, text.data() + i, 8);
        if (word & 0x8080808080808080ull) return false;
    }
    for (; i < text.size(); ++i)
        if (static_cast<unsigned char>(text[i]) >= 0x80) return false;
    return true;
}

int compareTextIgnoringCase(std::string_view a, std::string_view b) {
    const std::size_t n = std::min(a.size(), b.size());
    for (std::size_t i = 0; i < n; ++i) {
        const auto ca = static_cast<unsigned char>(a[i]);
        const auto cb = static_cast<unsigned char>(b[i]);
        if ((ca | cb) >= 0x80) {
            // Everything before i was single ASCII characters that folded equal, so the rest
            // decides; it starts on a character boundary in both texts.
            const QString ra = QString::fromUtf8(a.substr(i));
            const QString rb = QString::fromUtf8(b.substr(i));
            return sign(QString::compare(ra, rb, Qt::CaseInsensitive));
        }
        const char fa = foldAscii(static_cast<char>(ca));
        const char fb = foldAscii(static_cast<char>(cb));
        if (fa != fb) return fa < fb ? -1 : 1;
    }
    return a.size() < b.size() ? -1 : a.size() > b.size() ? 1 : 0;
}

// ---- compiling ----

bool LikePattern::CharSet::inRanges(char32_t c) const {
    for (const auto& [lo, hi] : ranges)
        if (c >= lo && c <= hi) return true;
    return false;
}

bool LikePattern::CharSet::contains(char32_t folded) const {
    if (folded < 128) return ascii[folded];
    // The text was folded, the set was not: any case form of the character may be listed.
    const bool listed =
        inRanges(folded) || inRanges(QChar::toUpper(folded)) || inRanges(QChar::toLower(folded));
    return listed != negated;
}

LikePattern::LikePattern(QStringView pattern) {
    std::u32string points;
    points.reserve(static_cast<std::size_t>(pattern.size()));
    appendCodePoints(pattern, points, false);
    compile(points);
}

void LikePattern::compile(const std::u32string& pattern) {
    for (std::size_t i = 0; i < pattern.size(); ++i) {
        const char32_t c = pattern[i];
        if (c == U'%') {
            pieces_.emplace_back().first = atoms_.size();
        } else if (c == U'_') {
            addAtom({AtomKind::Any, 0});
        } else if (c == U'[' && pattern.find(U']', i + 1) != std::u32string::npos) {
            i = parseSet(pattern, i);
        } else {
            addAtom({AtomKind::Char, QChar::toCaseFolded(c)});
        }
    }
}

// Reads the set opening at `open` and returns the position of its closing bracket.
std::size_t LikePattern::parseSet(const std::u32string& pattern, std::size_t open) {
    const std::size_t close = pattern.find(U']', open + 1);
    std::u32string_view body(pattern.data() + open + 1, close - open - 1);
    if (body.empty()) return close; // [] matches no character at all
    CharSet set;
    // A lone ! is the character itself; a leading ! before more negates the set.
    if (body.size() > 1 && body.front() == U'!') {
        set.negated = true;
        body.remove_prefix(1);
    }
    for (std::size_t k = 0; k < body.size();) {
        // A - at either end of the list is the character itself.
        if (k + 2 < body.size() && body[k + 1] == U'-') {
            if (body[k] > body[k + 2])
                throw engineError(kInvalidPatternString, QStringLiteral("Invalid pattern string"));
            set.ranges.emplace_back(body[k], body[k + 2]);
            k += 3;
        } else {
            set.ranges.emplace_back(body[k], body[k]);
            ++k;
        }
    }
    for (char32_t c = 0; c < 128; ++c) {
        const bool listed = set.inRanges(c) || set.inRanges(QChar::toUpper(c));
        set.ascii[c] = listed != set.negated;
    }
    sets_.push_back(std::move(set));
    addAtom({AtomKind::Set, static_cast<char32_t>(sets_.size() - 1)});
    return close;
}

void LikePattern::addAtom(Atom atom) {
    Piece& piece = pieces_.back();
    atoms_.push_back(atom);
    ++piece.count;
    ++minLength_;
    if (atom.kind != AtomKind::Char) {
        piece.literal = piece.asciiOnly = false;
        return;
    }
    piece.text.push_back(atom.ch);
    if (atom.ch < 128)
        piece.asciiText.push_back(static_cast<char>(atom.ch));
    else
        piece.asciiOnly = false;
}

// ---- matching ----

template <typename Char>
bool LikePattern::pieceAt(const Piece& piece, std::basic_string_view<Char> text,
                          std::size_t pos) const {
    for (std::size_t k = 0; k < piece.count; ++k) {
        const Atom& atom = atoms_[piece.first + k];
        const char32_t c = codeOf(text[pos + k]);
        if (atom.kind == AtomKind::Char ? c != atom.ch
                                        : atom.kind == AtomKind::Set && !sets_[atom.ch].contains(c))
            return false;
    }
    return true;
}

// The first position p >= from where the piece fits entirely before `limit`, or npos.
template <typename Char>
std::size_t LikePattern::findPiece(const Piece& piece, std::basic_string_view<Char> text,
                                   std::size_t from, std::size_t limit) const {
    const std::basic_string_view<Char> window = text.substr(0, limit);
    if (piece.literal) {
        if constexpr (std::is_same_v<Char, char>) {
            if (!piece.asciiOnly) return std::string_view::npos; // ASCII text lacks its letters
            return window.find(piece.asciiText, from);
        } else {
            return window.find(piece.text, from);
        }
    }
    for (std::size_t p = from; p + piece.count <= limit; ++p)
        if (pieceAt(piece, text, p)) return p;
    return std::basic_string_view<Char>::npos;
}

template <typename Char> bool LikePattern::matchFolded(std::basic_string_view<Char> text) const {
    const Piece& first = pieces_.front();
    if (pieces_.size() == 1) return text.size() == first.count && pieceAt(first, text, 0);
    if (text.size() < minLength_) return false;
    const Piece& last = pieces_.back();
    const std::size_t tail = text.size() - last.count;
    if (!pieceAt(first, text, 0) || !pieceAt(last, text, tail)) return false;
    // The middle pieces, each at its leftmost fit: an earlier fit never leaves less room for
    // the pieces after it.
    std::size_t pos = first.count;
    for (std::size_t i = 1; i + 1 < pieces_.size(); ++i) {
        const Piece& piece = pieces_[i];
        if (piece.count == 0) continue;
        const std::size_t at = findPiece(piece, text, pos, tail);
        if (at == std::basic_string_view<Char>::npos) return false;
        pos = at + piece.count;
    }
    return true;
}

bool LikePattern::matches(QStringView text) const {
    if (std::all_of(text.begin(), text.end(), [](QChar c) { return c.unicode() < 128; })) {
        std::string& folded = asciiScratch();
        folded.resize(static_cast<std::size_t>(text.size()));
        for (qsizetype i = 0; i < text.size(); ++i)
            folded[static_cast<std::size_t>(i)] = foldAscii(static_cast<char>(text[i].unicode()));
        return matchFolded(std::string_view(folded));
    }
    std::u32string& folded = wideScratch();
    folded.clear();
    appendCodePoints(text, folded, true);
    return matchFolded(std::u32string_view(folded));
}

bool LikePattern::matchesUtf8(std::string_view text) const {
    if (!isAscii(text)) return matches(QString::fromUtf8(text));
    std::string& folded = asciiScratch();
    folded.resize(text.size());
    for (std::size_t i = 0; i < text.size(); ++i)
        folded[i] = foldAscii(text[i]);
    return matchFolded(std::string_view(folded));
}

} // namespace jet
