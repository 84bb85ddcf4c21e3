#include "vb/Variant.h"

#include "support/VbTestSupport.h"
#include "vb/Convert.h"

#include <gtest/gtest.h>

using namespace vb;
using namespace Qt::Literals::StringLiterals;
using testsupport::errorOf;

namespace {

class VariantOps : public testsupport::EnUsTest {};

const Variant kNull = Variant::null();

Variant integer(int v) {
    return Variant(static_cast<std::int16_t>(v));
}

} // namespace

TEST_F(VariantOps, NullPropagatesThroughArithmeticButNotThroughConcatenation) {
    for (auto op : {add, subtract, multiply, divide, intDivide, modulo, power}) {
        EXPECT_TRUE(op(kNull, Variant(1)).isNull());
        EXPECT_TRUE(op(Variant(1.5), kNull).isNull());
    }
    EXPECT_TRUE(negate(kNull).isNull());
    EXPECT_EQ(concat(kNull, Variant(u"a"_s)), Variant(u"a"_s));
    EXPECT_EQ(concat(Variant(u"a"_s), kNull), Variant(u"a"_s));
    EXPECT_TRUE(concat(kNull, kNull).isNull());
    EXPECT_EQ(concat(Variant(1), Variant(2.5)), Variant(u"12.5"_s));
    EXPECT_EQ(concat(Variant(), Variant(true)), Variant(u"True"_s));
}

TEST_F(VariantOps, WholeNumbersWidenInsteadOfOverflowing) {
    EXPECT_EQ(add(integer(32767), integer(1)), Variant(32768));
    EXPECT_EQ(add(integer(1), integer(2)), integer(3));
    EXPECT_EQ(multiply(Variant(2147483647), integer(2)), Variant(4294967294.0));
    EXPECT_EQ(subtract(Variant(5), Variant(5)), Variant(0)); // a Long stays a Long
    EXPECT_EQ(negate(integer(-32768)), Variant(32768));
    EXPECT_EQ(add(Variant(true), Variant(true)), integer(-2));
    EXPECT_EQ(add(Variant(), Variant()), integer(0));
    // A Single beside a Long is computed as a Double.
    EXPECT_EQ(add(Variant(1.5f), Variant(1)).type(), VarType::Double);
    EXPECT_EQ(add(Variant(1.5f), integer(1)), Variant(2.5f));
}

TEST_F(VariantOps, TextsJoinWithPlusAndCountAsNumbersOtherwise) {
    EXPECT_EQ(add(Variant(u"a"_s), Variant(u"b"_s)), Variant(u"ab"_s));
    EXPECT_EQ(add(Variant(u"1"_s), Variant(1)), Variant(2.0));
    EXPECT_EQ(multiply(Variant(u"3"_s), Variant(u"4"_s)), Variant(12.0));
    EXPECT_EQ(add(Variant(), Variant(u"x"_s)), Variant(u"x"_s));
    EXPECT_EQ(errorOf([] { add(Variant(u"a"_s), Variant(1)); }), 13);
}

TEST_F(VariantOps, DatesAddAsDatesAndSubtractToDays) {
    const Variant d = Variant::date(37703.5);
    EXPECT_EQ(add(d, Variant(1)), Variant::date(37704.5));
    EXPECT_EQ(add(Variant(1), d), Variant::date(37704.5));
    EXPECT_EQ(subtract(d, Variant(0.5)), Variant::date(37703.0));
    EXPECT_EQ(subtract(d, Variant::date(37700.0)), Variant(3.5));
    EXPECT_EQ(errorOf([&] { add(d, Variant(1e7)); }), 6);
}

TEST_F(VariantOps, DivisionKindsAndZeroDivisors) {
    EXPECT_EQ(divide(Variant(10), Variant(4)), Variant(2.5));
    EXPECT_EQ(divide(integer(10), integer(3)), Variant(static_cast<float>(10.0 / 3.0)));
    EXPECT_EQ(divide(Variant(10.0), integer(4)), Variant(2.5));
    EXPECT_EQ(errorOf([] { divide(Variant(1), Variant(0)); }), 11);
    EXPECT_EQ(errorOf([] { divide(Variant(0), Variant(0)); }), 6);
    EXPECT_EQ(intDivide(Variant(7), Variant(2)), Variant(3));
    EXPECT_EQ(intDivide(integer(7), integer(2)), integer(3));
    // Operands round half to even before dividing: 7.5 becomes 8, 6.5 becomes 6.
    EXPECT_EQ(intDivide(Variant(7.5), Variant(2)), Variant(4));
    EXPECT_EQ(intDivide(Variant(6.5), Variant(2)), Variant(3));
    EXPECT_EQ(modulo(Variant(-7), Variant(3)), Variant(-1));
    EXPECT_EQ(modulo(Variant(7.6), Variant(3)), Variant(2));
    EXPECT_EQ(errorOf([] { modulo(Variant(1), Variant(0.4)); }), 11);
    EXPECT_EQ(power(Variant(2), Variant(10)), Variant(1024.0));
    EXPECT_EQ(errorOf([] { power(Variant(-8), Variant(1.0 / 3)); }), 5);
}

TEST_F(VariantOps, CurrencyStaysExact) {
    const Variant a(Currency{1}); // 0.0001
    Variant sum = Variant(Currency{0});
    for (int i = 0; i < 10000; ++i)
        sum = add(sum, a);
    EXPECT_EQ(sum, Variant(Currency{10000}));
    EXPECT_EQ(multiply(Variant(Currency{15000}), Variant(Currency{15000})),
              Variant(Currency{22500}));
    // 0.0001 * 0.5 = 0.00005, which rounds half to even: to 0.0000.
    EXPECT_EQ(multiply(Variant(Currency{1}), Variant(Currency{5000})), Variant(Currency{0}));
    EXPECT_EQ(multiply(Variant(Currency{3}), Variant(Currency{5000})), Variant(Currency{2}));
    EXPECT_EQ(add(Variant(Currency{10000}), Variant(0.5)).type(), VarType::Currency);
    EXPECT_EQ(errorOf([] { multiply(Variant(Currency{INT64_MAX / 2}), Variant(3)); }), 6);
}

TEST_F(VariantOps, ComparisonRules) {
    EXPECT_FALSE(compare(kNull, Variant(1)).has_value());
    EXPECT_FALSE(compare(kNull, kNull).has_value());
    EXPECT_EQ(compare(Variant(5), Variant(u"5"_s)), -1); // a number sorts before a text
    EXPECT_EQ(compare(Variant(u"5"_s), Variant(5)), 1);
    EXPECT_EQ(compare(Variant(u"a"_s), Variant(u"B"_s)), 1);
    EXPECT_EQ(compare(Variant(u"a"_s), Variant(u"B"_s), CompareMode::Text), -1);
    EXPECT_EQ(compare(Variant(u"abc"_s), Variant(u"ABC"_s), CompareMode::Text), 0);
    EXPECT_EQ(compare(Variant(), Variant(0)), 0);
    EXPECT_EQ(compare(Variant(), Variant(u""_s)), 0);
    EXPECT_EQ(compare(Variant::date(2), Variant(2)), 0);
    EXPECT_EQ(compare(Variant(true), integer(-1)), 0);
    EXPECT_EQ(compare(Variant(Currency{INT64_MAX}), Variant(Currency{INT64_MAX - 1})), 1);
}
