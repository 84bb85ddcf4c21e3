#include "jet/SqliteValue.h"

#include "jet/JetError.h"
#include "jet/SqliteDatabase.h"
#include "jet/Storage.h"
#include "vb/Convert.h"

#include <QString>
#include <limits>
#include <string>

namespace jet {

namespace {

using vb::Variant;
using vb::VarType;

bool fitsLong(sqlite3_int64 v) {
    return v >= std::numeric_limits<std::int32_t>::min() &&
           v <= std::numeric_limits<std::int32_t>::max();
}

Variant plainInteger(sqlite3_int64 v) {
    return fitsLong(v) ? Variant(static_cast<std::int32_t>(v)) : Variant(static_cast<double>(v));
}

Variant textOf(sqlite3_value* value) {
    const auto* text = reinterpret_cast<const char*>(sqlite3_value_text(value));
    return Variant(QString::fromUtf8(text, sqlite3_value_bytes(value)));
}

Variant dateFromLinear(double linear) {
    return Variant::date(storage::serialFromLinear(linear));
}

// A number with the meaning its tag gives it.
Variant taggedNumber(sqlite3_value* value, unsigned subtype) {
    switch (subtype) {
    case storage::kSubtypeDate:
        return dateFromLinear(sqlite3_value_double(value));
    case storage::kSubtypeCurrency:
        return Variant(vb::Currency::fromDouble(sqlite3_value_double(value)));
    case storage::kSubtypeBoolean:
        return Variant(sqlite3_value_double(value) != 0);
    case storage::kSubtypeSingle:
        return Variant(static_cast<float>(sqlite3_value_double(value)));
    default:
        if (sqlite3_value_type(value) == SQLITE_INTEGER)
            return plainInteger(sqlite3_value_int64(value));
        return Variant(sqlite3_value_double(value));
    }
}

Variant asDeclared(const Variant& stored, VarType declared) {
    const bool number = stored.isNumeric();
    switch (declared) {
    case VarType::Date:
        return number ? dateFromLinear(vb::cdbl(stored)) : vb::cvdate(stored);
    case VarType::Currency:
        return Variant(vb::ccur(stored));
    case VarType::Boolean:
        return Variant(vb::cbool(stored));
    case VarType::Integer:
        return Variant(vb::cint(stored));
    case VarType::Long:
        return Variant(vb::clng(stored));
    case VarType::Single:
        return Variant(vb::csng(stored));
    case VarType::Double:
        return Variant(vb::cdbl(stored));
    case VarType::String:
        return Variant(vb::cstr(stored));
    default:
        return stored;
    }
}

} // namespace

Variant variantFromSqlite(sqlite3_value* value) {
    switch (sqlite3_value_type(value)) {
    case SQLITE_INTEGER:
    case SQLITE_FLOAT:
        return taggedNumber(value, sqlite3_value_subtype(value));
    case SQLITE_TEXT:
    case SQLITE_BLOB:
        return textOf(value);
    default:
        return Variant::null();
    }
}

Variant variantFromColumn(sqlite3_stmt* statement, int column, VarType declared) {
    sqlite3_value* value = sqlite3_column_value(statement, column);
    const int type = sqlite3_value_type(value);
    if (type == SQLITE_NULL) return Variant::null();
    // Column values carry no tags, whatever produced them.
    const Variant stored =
        type == SQLITE_INTEGER || type == SQLITE_FLOAT ? taggedNumber(value, 0) : textOf(value);
    return asDeclared(stored, declared);
}

void resultText(sqlite3_context* context, QStringView text) {
    // Most results are plain ASCII: narrow them into a reused buffer rather than a new
    // QByteArray per row.
    thread_local std::string narrow;
    narrow.resize(static_cast<std::size_t>(text.size()));
    for (qsizetype i = 0; i < text.size(); ++i) {
        const char16_t c = text[i].unicode();
        if (c >= 0x80) {
            const QByteArray utf8 = text.toUtf8();
            sqlite3_result_text64(context, utf8.constData(),
                                  static_cast<sqlite3_uint64>(utf8.size()), SQLITE_TRANSIENT,
                                  SQLITE_UTF8);
            return;
        }
        narrow[static_cast<std::size_t>(i)] = static_cast<char>(c);
    }
    sqlite3_result_text64(context, narrow.data(), narrow.size(), SQLITE_TRANSIENT, SQLITE_UTF8);
}

void resultDate(sqlite3_context* context, double serial) {
    sqlite3_result_double(context, storage::linearFromSerial(serial));
    sqlite3_result_subtype(context, storage::kSubtypeDate);
}

void resultBoolean(sqlite3_context* context, bool value) {
    sqlite3_result_int(context, value ? -1 : 0);
    sqlite3_result_subtype(context, storage::kSubtypeBoolean);
}

void resultSingle(sqlite3_context* context, float value) {
    sqlite3_result_double(context, value);
    sqlite3_result_subtype(context, storage::kSubtypeSingle);
}

void resultFromVariant(sqlite3_context* context, const Variant& value) {
    switch (value.type()) {
    case VarType::Empty:
    case VarType::Null:
        sqlite3_result_null(context);
        return;
    case VarType::Boolean:
        resultBoolean(context, value.boolValue());
        return;
    case VarType::Integer:
        sqlite3_result_int(context, value.integerValue());
        return;
    case VarType::Long:
        sqlite3_result_int(context, value.longValue());
        return;
    case VarType::Single:
        resultSingle(context, value.singleValue());
        return;
    case VarType::Double:
        sqlite3_result_double(context, value.doubleValue());
        return;
    case VarType::Currency:
        sqlite3_result_double(context, value.currencyValue().toDouble());
        sqlite3_result_subtype(context, storage::kSubtypeCurrency);
        return;
    case VarType::Date:
        resultDate(context, value.dateValue());
        return;
    case VarType::String:
        resultText(context, value.stringValue());
        return;
    }
}

void raiseSqliteError(sqlite3* db, int code) {
    const QString text = QString::fromUtf8(sqlite3_errmsg(db));
    const qsizetype colon = text.indexOf(u": ");
    bool numeric = false;
    const int number = colon > 0 ? text.left(colon).toInt(&numeric) : 0;
    if (numeric) throw engineError(number, text.mid(colon + 2));
    throw engineError(kEngineErrorBase + (code & 0xff), text);
}

} // namespace jet
