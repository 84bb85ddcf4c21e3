#include "output/XlsWriter.h"

#include <QSaveFile>
#include <QtEndian>
#include <algorithm>
#include <array>
#include <cmath>
#include <cstring>

namespace output {

namespace {

// Record types of the BIFF8 workbook stream.
enum Record : quint16 {
    kBof = 0x0809,
    kEof = 0x000A,
    kCodepage = 0x0042,
    kWindow1 = 0x003D,
    kDatemode = 0x0022,
    kFont = 0x0031,
    kFormat = 0x041E,
    kXf = 0x00E0,
    kStyle = 0x0293,
    kBoundsheet = 0x0085,
    kSst = 0x00FC,
    kContinue = 0x003C,
    kDimensions = 0x0200,
    kLabelSst = 0x00FD,
    kNumber = 0x0203,
    kRk = 0x027E,
    kBoolErr = 0x0205,
    kWindow2 = 0x023E,
};

// No record carries more data than this; longer contents go on in CONTINUE records.
constexpr qsizetype kMaxRecordData = 8224;

// Cell XF indices: 15 style XFs and the default cell XF come first, as readers expect.
enum CellXf : quint16 { kXfGeneral = 15, kXfDate, kXfTime, kXfDateTime, kXfCurrency };
constexpr quint16 kFirstCustomFormat = 164;
// The formats of the XFs from kXfDate on, in the same order.
constexpr std::array<const char*, 4> kFormats{"yyyy-mm-dd", "hh:mm:ss", "yyyy-mm-dd hh:mm:ss",
                                              "#,##0.00"};

void put8(QByteArray& out, quint8 v) {
    out.append(char(v));
}

void put16(QByteArray& out, quint16 v) {
    const quint16 le = qToLittleEndian(v);
    out.append(reinterpret_cast<const char*>(&le), 2);
}

void put32(QByteArray& out, quint32 v) {
    const quint32 le = qToLittleEndian(v);
    out.append(reinterpret_cast<const char*>(&le), 4);
}

void putDouble(QByteArray& out, double v) {
    quint64 bits;
    std::memcpy(&bits, &v, 8);
    bits = qToLittleEndian(bits);
    out.append(reinterpret_cast<const char*>(&bits), 8);
}

void patch32(QByteArray& out, qsizetype at, quint32 v) {
    qToLittleEndian(v, out.data() + at);
}

void beginRecord(QByteArray& out, quint16 type, quint16 size) {
    put16(out, type);
    put16(out, size);
}

void putRecord(QByteArray& out, quint16 type, const QByteArray& body) {
    beginRecord(out, type, quint16(body.size()));
    out.append(body);
}

// Latin-1 text is stored one byte a letter (the "compressed" form), anything else as UTF-16.
bool fitsOneByte(QStringView text) {
    return std::all_of(text.begin(), text.end(), [](QChar c) { return c.unicode() < 0x100; });
}

void putChars(QByteArray& out, QStringView text, bool oneByte) {
    for (QChar c : text) {
        if (oneByte)
            put8(out, quint8(c.unicode()));
        else
            put16(out, c.unicode());
    }
}

// A string with its option byte; the count is 8 bits wide in names, 16 elsewhere.
void putString(QByteArray& out, QStringView text, bool shortCount) {
    const bool oneByte = fitsOneByte(text);
    if (shortCount)
        put8(out, quint8(text.size()));
    else
        put16(out, quint16(text.size()));
    put8(out, oneByte ? 0 : 1);
    putChars(out, text, oneByte);
}

QByteArray bof(quint16 substream) {
    QByteArray body;
    put16(body, 0x0600); // BIFF8
    put16(body, substream);
    put16(body, 0x0DBB); // build and year of the writing program, as readers expect them
    put16(body, 0x07CC);
    put32(body, 0);
    put32(body, 0x0006); // the lowest version that can read every record here
    return body;
}

QByteArray window1() {
    QByteArray body;
    for (quint16 v : {0, 0, 0x3000, 0x2000, 0x0038, 0, 0, 1, 0x0258})
        put16(body, v);
    return body;
}

QByteArray font() {
    QByteArray body;
    for (quint16 v : {200, 0, 0x7FFF, 400, 0}) // 10 pt, no style, automatic colour, normal weight
        put16(body, v);
    put32(body, 0); // no underline, family or character set
    putString(body, u"Arial", true);
    return body;
}

QByteArray format(quint16 index, const char* code) {
    QByteArray body;
    put16(body, index);
    putString(body, QString::fromLatin1(code), false);
    return body;
}

QByteArray xf(quint16 numberFormat, bool style) {
    QByteArray body;
    put16(body, 0); // font
    put16(body, numberFormat);
    put16(body, style ? 0xFFF5 : 0x0001); // locked; a style XF has no parent
    put8(body, 0x20);                     // bottom aligned
    put8(body, 0);
    put8(body, 0);
    put8(body, style ? 0xF4 : (numberFormat ? 0x04 : 0)); // which attributes differ from the parent
    put32(body, 0);                                       // no borders
    put32(body, 0);
    put16(body, 0x20C0); // default pattern colours
    return body;
}

QByteArray normalStyle() {
    QByteArray body;
    put16(body, 0x8000); // built-in style on XF 0
    put8(body, 0);       // "Normal"
    put8(body, 0xFF);
    return body;
}

// Writes the shared strings, carrying on in CONTINUE records past the record size. A string's
// count and option byte always stay together; when its letters cross into a new record, that
// record starts with the option byte again, and a UTF-16 letter or surrogate pair is never cut.
class SstWriter {
public:
    explicit SstWriter(QByteArray& out) : out_(out) {}

    void write(const QStringList& strings, quint32 uses) {
        begin(kSst);
        put32(out_, uses);
        put32(out_, quint32(strings.size()));
        for (const QString& s : strings)
            writeString(s);
        end();
    }

private:
    qsizetype room() const { return kMaxRecordData - (out_.size() - start_); }

    void begin(quint16 type) {
        beginRecord(out_, type, 0);
        start_ = out_.size();
    }

    void end() { qToLittleEndian(quint16(out_.size() - start_), out_.data() + start_ - 2); }

    void writeString(QStringView text) {
        const bool oneByte = fitsOneByte(text);
        const qsizetype width = oneByte ? 1 : 2;
        if (room() < 3 + 2 * width) carryOn();
        put16(out_, quint16(text.size()));
        put8(out_, oneByte ? 0 : 1);
        while (true) {
            qsizetype n = std::min(text.size(), room() / width);
            if (n < text.size() && n > 0 && text[n - 1].isHighSurrogate()) --n;
            putChars(out_, text.first(n), oneByte);
            text = text.sliced(n);
            if (text.isEmpty()) return;
            carryOn();
            put8(out_, oneByte ? 0 : 1);
        }
    }

    void carryOn() {
        end();
        begin(kContinue);
    }

    QByteArray& out_;
    qsizetype start_ = 0;
};

// A spreadsheet's day numbers count a 29 February 1900 that never was: before 1 March 1900 they run
// one behind the vb runtime's.
double sheetSerial(double vbSerial) {
    return vbSerial >= 1 && vbSerial < 61 ? vbSerial - 1 : vbSerial;
}

quint16 dateXf(double serial) {
    double whole;
    const double fraction = std::modf(serial, &whole);
    if (whole == 0) return kXfTime;
    return fraction == 0 ? kXfDate : kXfDateTime;
}

// A whole number that fits 30 bits takes the short RK record instead of an 8-byte double.
std::optional<quint32> rkValue(double v) {
    if (v != std::floor(v) || v < -(1 << 29) || v >= (1 << 29)) return std::nullopt;
    return (quint32(qint32(v)) << 2) | 2;
}

// Every cell record opens with its place and its XF.
void beginCell(QByteArray& out, quint16 type, quint16 size, quint16 row, quint16 column,
               quint16 xf) {
    beginRecord(out, type, size);
    put16(out, row);
    put16(out, column);
    put16(out, xf);
}

void putNumberCell(QByteArray& out, quint16 row, quint16 column, quint16 xf, double v) {
    if (const auto rk = rkValue(v)) {
        beginCell(out, kRk, 10, row, column, xf);
        put32(out, *rk);
        return;
    }
    beginCell(out, kNumber, 14, row, column, xf);
    putDouble(out, v);
}

// ---- the compound file around the workbook stream ----

constexpr qsizetype kSector = 512;
constexpr quint32 kIdsPerSector = kSector / 4;
constexpr quint32 kHeaderFatIds = 109;
constexpr quint32 kFreeSector = 0xFFFFFFFF;
constexpr quint32 kEndOfChain = 0xFFFFFFFE;
constexpr quint32 kFatSector = 0xFFFFFFFD;
constexpr quint32 kDifatSector = 0xFFFFFFFC;
// Streams shorter than this would belong in the mini stream; the workbook is padded to it so
// the file never needs one.
constexpr qsizetype kMiniStreamCutoff = 4096;

// Sectors in file order: the workbook stream, one directory sector, the FAT, the DIFAT.
struct CompoundLayout {
    quint32 streamSectors = 0;
    quint32 fatSectors = 0;
    quint32 difatSectors = 0;

    quint32 directory() const { return streamSectors; }
    quint32 firstFat() const { return streamSectors + 1; }
    quint32 firstDifat() const { return firstFat() + fatSectors; }
    quint32 total() const { return firstDifat() + difatSectors; }
};

quint32 difatSectorsFor(quint32 fatSectors) {
    const quint32 beyond = fatSectors > kHeaderFatIds ? fatSectors - kHeaderFatIds : 0;
    return (beyond + kIdsPerSector - 2) / (kIdsPerSector - 1); // the last id links to the next
}

CompoundLayout layoutFor(qsizetype streamSize) {
    CompoundLayout layout;
    layout.streamSectors = quint32((streamSize + kSector - 1) / kSector);
    do {
        ++layout.fatSectors;
        layout.difatSectors = difatSectorsFor(layout.fatSectors);
    } while (layout.fatSectors * kIdsPerSector < layout.total());
    return layout;
}

quint32 fatSectorAt(const CompoundLayout& layout, quint32 i) {
    return i < layout.fatSectors ? layout.firstFat() + i : kFreeSector;
}

QByteArray compoundHeader(const CompoundLayout& layout) {
    QByteArray out;
    out.append("\xD0\xCF\x11\xE0\xA1\xB1\x1A\xE1", 8);
    out.append(16, '\0'); // class id
    for (quint16 v : {0x003E, 0x0003, 0xFFFE, 9, 6})
        put16(out, v); // versions, byte order, 512-byte sectors, 64-byte mini sectors
    out.append(6, '\0');
    put32(out, 0); // directory sectors: always 0 in version 3
    put32(out, layout.fatSectors);
    put32(out, layout.directory());
    put32(out, 0);
    put32(out, quint32(kMiniStreamCutoff));
    put32(out, kEndOfChain); // no mini FAT
    put32(out, 0);
    put32(out, layout.difatSectors ? layout.firstDifat() : kEndOfChain);
    put32(out, layout.difatSectors);
    for (quint32 i = 0; i < kHeaderFatIds; ++i)
        put32(out, fatSectorAt(layout, i));
    return out;
}

void putDirectoryEntry(QByteArray& out, QStringView name, quint8 type, quint32 child, quint32 start,
                       quint32 size) {
    const qsizetype at = out.size();
    putChars(out, name, false);
    out.append(64 - (out.size() - at), '\0');
    put16(out, name.isEmpty() ? 0 : quint16((name.size() + 1) * 2));
    put8(out, type);
    put8(out, 1); // black
    put32(out, kFreeSector);
    put32(out, kFreeSector);
    put32(out, child);
    out.append(16 + 4 + 16, '\0'); // class id, state bits, creation and change times
    put32(out, start);
    put32(out, size);
    put32(out, 0);
}

QByteArray directorySector(quint32 streamSize) {
    QByteArray out;
    putDirectoryEntry(out, u"Root Entry", 5, 1, kEndOfChain, 0);
    putDirectoryEntry(out, u"Workbook", 2, kFreeSector, 0, streamSize);
    putDirectoryEntry(out, {}, 0, kFreeSector, 0, 0);
    putDirectoryEntry(out, {}, 0, kFreeSector, 0, 0);
    return out;
}

QByteArray fat(const CompoundLayout& layout) {
    QByteArray out;
    out.reserve(qsizetype(layout.fatSectors) * kSector);
    for (quint32 i = 0; i + 1 < layout.streamSectors; ++i)
        put32(out, i + 1);
    put32(out, kEndOfChain);
    put32(out, kEndOfChain); // the directory's one sector
    for (quint32 i = 0; i < layout.fatSectors; ++i)
        put32(out, kFatSector);
    for (quint32 i = 0; i < layout.difatSectors; ++i)
        put32(out, kDifatSector);
    out.append(qsizetype(layout.fatSectors) * kSector - out.size(), '\xFF');
    return out;
}

QByteArray difat(const CompoundLayout& layout) {
    QByteArray out;
    quint32 next = kHeaderFatIds;
    for (quint32 d = 0; d < layout.difatSectors; ++d) {
        for (quint32 i = 0; i + 1 < kIdsPerSector; ++i)
            put32(out, fatSectorAt(layout, next++));
        put32(out, d + 1 < layout.difatSectors ? layout.firstDifat() + d + 1 : kEndOfChain);
    }
    return out;
}

class CheckedFile {
public:
    explicit CheckedFile(const QString& path) : file_(path) {}

    bool open() { return file_.open(QIODevice::WriteOnly | QIODevice::Unbuffered); }
    void write(const QByteArray& bytes) {
        ok_ = ok_ && file_.write(bytes) == bytes.size();
        written_ += bytes.size();
    }
    void pad(qsizetype multiple) {
        if (written_ % multiple) write(QByteArray(multiple - written_ % multiple, '\0'));
    }
    bool commit() { return ok_ && file_.commit(); }
    QString errorString() const { return file_.errorString(); }

private:
    QSaveFile file_;
    qsizetype written_ = 0;
    bool ok_ = true;
};

// A cell holds at most this many UTF-16 letters; a reader refuses a longer text, so the rest is
// dropped rather than the file.
constexpr qsizetype kMaxCellText = 32767;

QString fittedText(const QString& text) {
    if (text.size() <= kMaxCellText) return text;
    const bool cutsPair = text[kMaxCellText - 1].isHighSurrogate();
    return text.left(cutsPair ? kMaxCellText - 1 : kMaxCellText);
}

} // namespace

XlsCell XlsCell::text(QString value) {
    return {Kind::Text, 0, std::move(value)};
}
XlsCell XlsCell::number(double value) {
    return {Kind::Number, value};
}
XlsCell XlsCell::date(double serial) {
    return {Kind::Date, serial};
}
XlsCell XlsCell::currency(double value) {
    return {Kind::Currency, value};
}
XlsCell XlsCell::boolean(bool value) {
    return {Kind::Boolean, value ? 1.0 : 0.0};
}

XlsWriter::XlsWriter(QString sheetName) : sheetName_(std::move(sheetName)) {}

std::optional<QString> XlsWriter::sizeError(qint64 rows, qint64 columns) {
    if (rows > kMaxRows)
        return QStringLiteral("An .xls sheet holds at most %1 rows; this one has %2.")
            .arg(kMaxRows)
            .arg(rows);
    if (columns > kMaxColumns)
        return QStringLiteral("An .xls sheet holds at most %1 columns; this one has %2.")
            .arg(kMaxColumns)
            .arg(columns);
    return std::nullopt;
}

bool XlsWriter::fail(QString message) {
    if (error_.isEmpty()) error_ = std::move(message);
    return false;
}

bool XlsWriter::addRow(std::span<const XlsCell> cells) {
    if (!error_.isEmpty()) return false;
    if (auto refused = sizeError(qint64(rows_) + 1, qint64(cells.size()))) return fail(*refused);
    for (size_t c = 0; c < cells.size(); ++c)
        addCell(int(c), cells[c]);
    columns_ = std::max(columns_, int(cells.size()));
    ++rows_;
    return true;
}

quint32 XlsWriter::sharedString(const QString& whole) {
    const QString text = fittedText(whole);
    ++stringUses_;
    if (const auto found = stringIndex_.constFind(text); found != stringIndex_.cend())
        return found.value();
    const auto index = quint32(strings_.size());
    stringIndex_.insert(text, index);
    strings_.append(text);
    return index;
}

void XlsWriter::addCell(int column, const XlsCell& cell) {
    const auto row = quint16(rows_);
    const auto col = quint16(column);
    switch (cell.kind()) {
    case XlsCell::Kind::Empty:
        return;
    case XlsCell::Kind::Text:
        beginCell(cells_, kLabelSst, 10, row, col, kXfGeneral);
        put32(cells_, sharedString(cell.textValue()));
        return;
    case XlsCell::Kind::Boolean:
        beginCell(cells_, kBoolErr, 8, row, col, kXfGeneral);
        put8(cells_, quint8(cell.value()));
        put8(cells_, 0); // a boolean, not an error code
        return;
    case XlsCell::Kind::Number:
        return putNumberCell(cells_, row, col, kXfGeneral, cell.value());
    case XlsCell::Kind::Currency:
        return putNumberCell(cells_, row, col, kXfCurrency, cell.value());
    case XlsCell::Kind::Date:
        return putNumberCell(cells_, row, col, dateXf(cell.value()), sheetSerial(cell.value()));
    }
}

QByteArray XlsWriter::globals() const {
    QByteArray out;
    putRecord(out, kBof, bof(0x0005));
    QByteArray codepage;
    put16(codepage, 1200); // UTF-16
    putRecord(out, kCodepage, codepage);
    putRecord(out, kWindow1, window1());
    putRecord(out, kDatemode, QByteArray(2, '\0')); // days counted from 1900
    for (int i = 0; i < 5; ++i) // readers skip font index 4, so five records make fonts 0 to 5
        putRecord(out, kFont, font());
    for (size_t i = 0; i < kFormats.size(); ++i)
        putRecord(out, kFormat, format(quint16(kFirstCustomFormat + i), kFormats[i]));
    for (int i = 0; i < kXfGeneral; ++i)
        putRecord(out, kXf, xf(0, true));
    putRecord(out, kXf, xf(0, false));
    for (size_t i = 0; i < kFormats.size(); ++i)
        putRecord(out, kXf, xf(quint16(kFirstCustomFormat + i), false));
    putRecord(out, kStyle, normalStyle());

    QByteArray sheet;
    put32(sheet, 0); // the sheet's position, known once the globals are complete
    put16(sheet, 0); // visible worksheet
    putString(sheet, sheetName_.left(31), true);
    putRecord(out, kBoundsheet, sheet);
    const qsizetype sheetPosition = out.size() - sheet.size();

    SstWriter(out).write(strings_, stringUses_);
    putRecord(out, kEof, {});
    patch32(out, sheetPosition, quint32(out.size()));
    return out;
}

QByteArray XlsWriter::sheetHead() const {
    QByteArray out;
    putRecord(out, kBof, bof(0x0010));
    QByteArray dimensions;
    put32(dimensions, 0);
    put32(dimensions, quint32(rows_));
    put16(dimensions, 0);
    put16(dimensions, quint16(columns_));
    put16(dimensions, 0);
    putRecord(out, kDimensions, dimensions);
    return out;
}

namespace {

QByteArray sheetTail() {
    QByteArray out;
    QByteArray window;
    put16(window, 0x06B6); // grid, headers, zeros, outline symbols; the selected, active sheet
    put16(window, 0);
    put16(window, 0);
    put32(window, 0x40); // automatic grid colour
    put32(window, 0);
    put32(window, 0);
    putRecord(out, kWindow2, window);
    putRecord(out, kEof, {});
    return out;
}

} // namespace

bool XlsWriter::save(const QString& path) {
    if (!error_.isEmpty()) return false;
    const QByteArray head = globals() + sheetHead();
    const QByteArray tail = sheetTail();
    const qsizetype content = head.size() + cells_.size() + tail.size();
    const qsizetype streamSize = std::max(content, kMiniStreamCutoff);
    if (streamSize > qsizetype(0x7FFFFFFF))
        return fail(QStringLiteral("The sheet is too large for an .xls file."));
    const CompoundLayout layout = layoutFor(streamSize);

    CheckedFile file(path);
    if (!file.open())
        return fail(QStringLiteral("Cannot write %1: %2").arg(path, file.errorString()));
    file.write(compoundHeader(layout));
    file.write(head);
    file.write(cells_);
    file.write(tail);
    file.write(QByteArray(streamSize - content, '\0'));
    file.pad(kSector);
    file.write(directorySector(quint32(streamSize)));
    file.write(fat(layout));
    file.write(difat(layout));
    if (!file.commit())
        return fail(QStringLiteral("Cannot write %1: %2").arg(path, file.errorString()));
    return true;
}

} // namespace output
