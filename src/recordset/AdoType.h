#pragma once

#include "vb/Variant.h"

#include <cstdint>

namespace rs {

// A field's data type, numbered as ADO's DataTypeEnum so the codes can be shown and compared with
// what the original client saw.
enum class AdoType : std::uint16_t {
    SmallInt = 2,
    Integer = 3, // 32-bit, the language's Long
    Single = 4,
    Double = 5,
    Currency = 6,
    Date = 7,
    BSTR = 8,
    Boolean = 11,
    Variant = 12,
    TinyInt = 16,
    UnsignedTinyInt = 17,
    BigInt = 20,
    Char = 129,
    WChar = 130,
    DBTimeStamp = 135,
    VarChar = 200,
    LongVarChar = 201,
    VarWChar = 202,
    LongVarWChar = 203,
};

// The kind of the values a field of this type yields. Variant fields yield whatever they were
// given, reported as Empty here. BigInt yields Double: the language has no 64-bit integer.
vb::VarType varTypeOf(AdoType type);

bool isTextType(AdoType type);

} // namespace rs
