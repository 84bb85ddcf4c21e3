#include "recordset/AdoType.h"

namespace rs {

vb::VarType varTypeOf(AdoType type) {
    switch (type) {
    case AdoType::SmallInt:
    case AdoType::TinyInt:
    case AdoType::UnsignedTinyInt:
        return vb::VarType::Integer;
    case AdoType::Integer:
        return vb::VarType::Long;
    case AdoType::Single:
        return vb::VarType::Single;
    case AdoType::Double:
    case AdoType::BigInt:
        return vb::VarType::Double;
    case AdoType::Currency:
        return vb::VarType::Currency;
    case AdoType::Date:
    case AdoType::DBTimeStamp:
        return vb::VarType::Date;
    case AdoType::Boolean:
        return vb::VarType::Boolean;
    case AdoType::Variant:
        return vb::VarType::Empty;
    case AdoType::BSTR:
    case AdoType::Char:
    case AdoType::WChar:
    case AdoType::VarChar:
    case AdoType::LongVarChar:
    case AdoType::VarWChar:
    case AdoType::LongVarWChar:
        return vb::VarType::String;
    }
    return vb::VarType::Empty;
}

bool isTextType(AdoType type) {
    return varTypeOf(type) == vb::VarType::String;
}

} // namespace rs
