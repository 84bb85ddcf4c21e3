#include "recordset/RecordsetTestData.h"

using rs::AdoType;
using rstest::ids;
using rstest::lng;
using rstest::null;
using Ids = std::vector<int>;

namespace {

class Sort : public testsupport::EnUsTest {
protected:
    void SetUp() override {
        EnUsTest::SetUp();
        records = rstest::makeRecordset({{"Id", AdoType::Integer},
                                         {"Clerk", AdoType::VarWChar},
                                         {"Total", AdoType::Double},
                                         {"Till", AdoType::Currency}},
                                        {
                                            {lng(1), "cherry", vb::Variant(2.0), lng(-3)},
                                            {lng(2), "Banana", vb::Variant(-0.5), null()},
                                            {lng(3), "apple", null(), lng(7)},
                                            {lng(4), "banana", vb::Variant(2.0), lng(-3)},
                                            {lng(5), null(), vb::Variant(-1.5), lng(0)},
                                            {lng(6), "BANANA", vb::Variant(0.0), lng(-3)},
                                        });
    }

    Ids sorted(const QString& sortText) {
        records->setSort(sortText);
        return ids(*records);
    }

    std::shared_ptr<rs::Recordset> records;
};

} // namespace

TEST_F(Sort, TextsIgnoreCaseAndEqualKeysKeepTheirOrder) {
    EXPECT_EQ(sorted("Clerk"), (Ids{5, 3, 2, 4, 6, 1}));
    EXPECT_EQ(sorted("[Clerk] ASC"), (Ids{5, 3, 2, 4, 6, 1}));
    // Descending reverses the keys, not the rows that share one.
    EXPECT_EQ(sorted("clerk desc"), (Ids{1, 2, 4, 6, 3, 5}));
}

TEST_F(Sort, NumbersInOrderWithNullFirstAscendingAndLastDescending) {
    EXPECT_EQ(sorted("Total"), (Ids{3, 5, 2, 6, 1, 4}));
    EXPECT_EQ(sorted("Total DESC"), (Ids{1, 4, 6, 2, 5, 3}));
    EXPECT_EQ(sorted("Till"), (Ids{2, 1, 4, 6, 5, 3}));
    EXPECT_EQ(sorted("Till DESC"), (Ids{3, 5, 1, 4, 6, 2}));
}

TEST_F(Sort, LaterKeysBreakTiesOfEarlierOnes) {
    EXPECT_EQ(sorted("Till, Clerk DESC"), (Ids{2, 1, 4, 6, 5, 3}));
    EXPECT_EQ(sorted("Till DESC, [Clerk]"), (Ids{3, 5, 4, 6, 1, 2}));
    EXPECT_EQ(sorted("Total DESC , Id DESC"), (Ids{4, 1, 6, 2, 5, 3}));
}

TEST_F(Sort, MovesToTheFirstRowAndEmptyTextRestoresTheOrder) {
    records->moveLast();
    records->setSort("Total");
    EXPECT_EQ(records->absolutePosition(), 1);
    EXPECT_EQ(records->field(u"Id").value(), lng(3));
    EXPECT_EQ(rstest::idsByCursor(*records), (Ids{3, 5, 2, 6, 1, 4}));
    EXPECT_EQ(sorted(""), (Ids{1, 2, 3, 4, 5, 6}));
    EXPECT_EQ(records->sort(), "");
}

TEST_F(Sort, CombinesWithFilterInEitherOrder) {
    records->setFilter("Clerk LIKE 'b*'");
    EXPECT_EQ(sorted("Total"), (Ids{2, 6, 4}));
    records->setFilter("Till = -3");
    EXPECT_EQ(ids(*records), (Ids{6, 1, 4}));
    EXPECT_EQ(records->recordCount(), 3u);
    EXPECT_EQ(sorted("Id DESC"), (Ids{6, 4, 1}));
    EXPECT_EQ(sorted(""), (Ids{1, 4, 6}));
    records->setSort("Clerk");
    records->setFilter("");
    EXPECT_EQ(ids(*records), (Ids{5, 3, 2, 4, 6, 1}));
}

TEST_F(Sort, ABadSortNamesTheProblemAndKeepsTheOldOne) {
    records->setSort("Total");
    const auto messageOf = [&](const QString& text) {
        return rstest::messageOf([&] { records->setSort(text); });
    };
    EXPECT_EQ(messageOf("Nope"), "Sort: unknown field 'Nope'");
    EXPECT_EQ(messageOf("Clerk UP"), "Sort: expected ASC, DESC or ',' at 'UP'");
    EXPECT_EQ(messageOf("Clerk,,Id"), "Sort: expected a field name at ',Id'");
    EXPECT_EQ(messageOf("Clerk,"), "Sort: expected a field name at the end");
    EXPECT_EQ(messageOf("[Clerk"), "Sort: a field name is missing its ']'");
    EXPECT_EQ(testsupport::errorOf([&] { records->setSort("Nope"); }), rs::err::BadArguments);
    EXPECT_EQ(records->sort(), "Total");
    EXPECT_EQ(ids(*records), (Ids{3, 5, 2, 6, 1, 4}));
}

TEST(SortDates, FollowTimeBeforeTheSerialsDayZero) {
    // Before 1899-12-30 the fraction counts away from zero: -1.25 is 06:00 and -1.5 is 12:00
    // of 1899-12-29, so ordering the serials as plain numbers would swap them.
    auto records = rstest::makeRecordset({{"Id", AdoType::Integer}, {"When", AdoType::Date}},
                                         {{lng(1), vb::Variant::date(-1.5)},
                                          {lng(2), vb::Variant::date(-1.25)},
                                          {lng(3), vb::Variant::date(0.25)},
                                          {lng(4), vb::Variant::date(-2.0)}});
    records->setSort("When");
    EXPECT_EQ(ids(*records), (Ids{4, 2, 1, 3}));
    records->setFilter("When > #12/29/1899 09:00#");
    EXPECT_EQ(ids(*records), (Ids{1, 3}));
}

TEST(SortVariantField, NumbersBeforeTextsAndNullFirst) {
    auto records = rstest::makeRecordset({{"Id", AdoType::Integer}, {"V", AdoType::Variant}},
                                         {{lng(1), "b"},
                                          {lng(2), vb::Variant(10.5)},
                                          {lng(3), null()},
                                          {lng(4), "A"},
                                          {lng(5), lng(-2)}});
    records->setSort("V");
    EXPECT_EQ(ids(*records), (Ids{3, 5, 2, 4, 1}));
}
