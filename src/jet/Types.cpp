#include "jet/Types.h"

#include <QRegularExpression>
#include <QStringList>

using namespace Qt::Literals::StringLiterals;

namespace jet {

std::optional<ColumnType> columnTypeFromName(const QString& typeName, int size) {
    const QString t = typeName.trimmed().toUpper();
    auto make = [&](SqlType type) { return ColumnType{type, size, false}; };
    if (t == u"COUNTER" || t == u"AUTOINCREMENT" || t == u"IDENTITY")
        return ColumnType{SqlType::Long, 0, true};
    // The dialect's INTEGER is a Long; its 16-bit whole number is SHORT.
    if (t == u"LONG" || t == u"INT" || t == u"INTEGER" || t == u"INTEGER4" || t == u"LONGINTEGER")
        return make(SqlType::Long);
    if (t == u"SHORT" || t == u"SMALLINT" || t == u"INTEGER2") return make(SqlType::Integer);
    if (t == u"BYTE" || t == u"TINYINT" || t == u"INTEGER1") return make(SqlType::Byte);
    if (t == u"SINGLE" || t == u"REAL" || t == u"FLOAT4" || t == u"IEEESINGLE")
        return make(SqlType::Single);
    if (t == u"DOUBLE" || t == u"FLOAT" || t == u"FLOAT8" || t == u"NUMBER" || t == u"NUMERIC" ||
        t == u"IEEEDOUBLE")
        return make(SqlType::Double);
    if (t == u"CURRENCY" || t == u"MONEY") return make(SqlType::Currency);
    if (t == u"DATETIME" || t == u"DATE" || t == u"TIME" || t == u"TIMESTAMP")
        return make(SqlType::Date);
    if (t == u"YESNO" || t == u"BIT" || t == u"LOGICAL" || t == u"LOGICAL1" || t == u"BOOLEAN")
        return make(SqlType::Boolean);
    if (t == u"TEXT" || t == u"VARCHAR" || t == u"CHAR" || t == u"STRING" || t == u"ALPHANUMERIC" ||
        t == u"NVARCHAR" || t == u"NCHAR" || t == u"CHARACTER")
        return ColumnType{SqlType::Text, size == 0 ? 255 : size, false};
    if (t == u"MEMO" || t == u"LONGTEXT" || t == u"LONGCHAR" || t == u"NOTE" || t == u"NTEXT")
        return make(SqlType::Memo);
    return std::nullopt;
}

std::optional<ColumnType> parameterTypeFromName(const QString& typeName, int size) {
    static const QStringList kUnheld = {
        u"VALUE"_s,     u"BINARY"_s, u"VARBINARY"_s, u"LONGBINARY"_s,       u"GENERAL"_s,
        u"OLEOBJECT"_s, u"IMAGE"_s,  u"GUID"_s,      u"UNIQUEIDENTIFIER"_s, u"DECIMAL"_s,
        u"DEC"_s,
    };
    if (kUnheld.contains(typeName.trimmed(), Qt::CaseInsensitive)) return ColumnType{};
    auto type = columnTypeFromName(typeName, size);
    if (type) type->counter = false; // a value asked for is numbered by nobody
    return type;
}

rs::AdoType adoTypeOf(SqlType type) {
    switch (type) {
    case SqlType::Boolean:
        return rs::AdoType::Boolean;
    case SqlType::Byte:
        return rs::AdoType::UnsignedTinyInt;
    case SqlType::Integer:
        return rs::AdoType::SmallInt;
    case SqlType::Long:
        return rs::AdoType::Integer;
    case SqlType::Single:
        return rs::AdoType::Single;
    case SqlType::Double:
        return rs::AdoType::Double;
    case SqlType::Currency:
        return rs::AdoType::Currency;
    case SqlType::Date:
        return rs::AdoType::Date;
    case SqlType::Text:
        return rs::AdoType::VarWChar;
    case SqlType::Memo:
        return rs::AdoType::LongVarWChar;
    case SqlType::Unknown:
        break;
    }
    return rs::AdoType::Variant;
}

vb::VarType varTypeOf(SqlType type) {
    switch (type) {
    case SqlType::Boolean:
        return vb::VarType::Boolean;
    case SqlType::Byte:
    case SqlType::Integer:
        return vb::VarType::Integer;
    case SqlType::Long:
        return vb::VarType::Long;
    case SqlType::Single:
        return vb::VarType::Single;
    case SqlType::Double:
        return vb::VarType::Double;
    case SqlType::Currency:
        return vb::VarType::Currency;
    case SqlType::Date:
        return vb::VarType::Date;
    case SqlType::Text:
    case SqlType::Memo:
        return vb::VarType::String;
    case SqlType::Unknown:
        break;
    }
    return vb::VarType::Empty;
}

bool isText(SqlType type) {
    return type == SqlType::Text || type == SqlType::Memo;
}

SqlType literalType(const vb::Variant& v) {
    switch (v.type()) {
    case vb::VarType::Boolean:
        return SqlType::Boolean;
    case vb::VarType::Integer:
        return SqlType::Integer;
    case vb::VarType::Long:
        return SqlType::Long;
    case vb::VarType::Single:
        return SqlType::Single;
    case vb::VarType::Double:
        return SqlType::Double;
    case vb::VarType::Currency:
        return SqlType::Currency;
    case vb::VarType::Date:
        return SqlType::Date;
    case vb::VarType::String:
        return SqlType::Text;
    default:
        return SqlType::Unknown;
    }
}

bool isNumeric(SqlType type) {
    switch (type) {
    case SqlType::Boolean:
    case SqlType::Byte:
    case SqlType::Integer:
    case SqlType::Long:
    case SqlType::Single:
    case SqlType::Double:
    case SqlType::Currency:
        return true;
    default:
        return false;
    }
}

namespace {

int rank(SqlType t) {
    switch (t) {
    case SqlType::Boolean:
    case SqlType::Byte:
    case SqlType::Integer:
        return 1;
    case SqlType::Long:
        return 2;
    case SqlType::Single:
        return 3;
    case SqlType::Double:
        return 4;
    case SqlType::Currency:
        return 5;
    default:
        return 4;
    }
}

} // namespace

SqlType widen(SqlType a, SqlType b) {
    if (a == SqlType::Unknown) return b;
    if (b == SqlType::Unknown) return a;
    const int r = std::max(rank(a), rank(b));
    if ((a == SqlType::Single && b == SqlType::Long) ||
        (a == SqlType::Long && b == SqlType::Single))
        return SqlType::Double;
    switch (r) {
    case 1:
        return SqlType::Integer;
    case 2:
        return SqlType::Long;
    case 3:
        return SqlType::Single;
    case 5:
        return SqlType::Currency;
    default:
        return SqlType::Double;
    }
}

QString sqliteDeclaration(const ColumnType& column) {
    switch (column.type) {
    case SqlType::Long:
        // Only the exact type name INTEGER makes SQLite number the rows itself.
        return column.counter ? QStringLiteral("INTEGER PRIMARY KEY AUTOINCREMENT")
                              : QStringLiteral("LONG");
    case SqlType::Boolean:
        return QStringLiteral("YESNO");
    case SqlType::Byte:
        return QStringLiteral("BYTE");
    case SqlType::Integer:
        return QStringLiteral("SHORT");
    case SqlType::Single:
        return QStringLiteral("SINGLE");
    case SqlType::Double:
        return QStringLiteral("DOUBLE");
    case SqlType::Currency:
        return QStringLiteral("CURRENCY");
    case SqlType::Date:
        return QStringLiteral("DATETIME");
    case SqlType::Text:
        return QStringLiteral("TEXT(%1)").arg(column.size > 0 ? column.size : 255);
    case SqlType::Memo:
        return QStringLiteral("MEMO TEXT"); // "TEXT" gives the column text affinity
    case SqlType::Unknown:
        break;
    }
    return QString();
}

ColumnType columnTypeFromDeclaration(const QString& declared, bool integerPrimaryKey) {
    if (integerPrimaryKey) return ColumnType{SqlType::Long, 0, true};
    static const QRegularExpression form(
        QStringLiteral(R"(^\s*([A-Za-z0-9_]+)\s*(?:\(\s*(\d+)\s*\))?)"));
    const auto m = form.match(declared);
    if (!m.hasMatch()) return ColumnType{};
    // SQLite's own names where a table was made by hand: INTEGER there is a whole number.
    const QString name = m.captured(1).toUpper();
    if (name == u"INTEGER" || name == u"BIGINT") return ColumnType{SqlType::Long, 0, false};
    if (name == u"REAL") return ColumnType{SqlType::Double, 0, false};
    if (name == u"BLOB") return ColumnType{};
    return columnTypeFromName(name, m.captured(2).toInt()).value_or(ColumnType{});
}

} // namespace jet
