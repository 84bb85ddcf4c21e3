#include "recordset/RecordsetTestData.h"

#include <array>

using namespace Qt::Literals::StringLiterals;
using rs::AdoType;
using rstest::ids;
using rstest::idsByCursor;
using rstest::lng;
using rstest::null;
using testsupport::errorOf;

namespace {

std::shared_ptr<rs::Recordset> threeRows() {
    return rstest::makeRecordset({{"Id", AdoType::Integer}, {"Clerk", AdoType::VarWChar, 20}},
                                 {{lng(1), "Ann"}, {lng(2), "Bob"}, {lng(3), "Cy"}});
}

std::shared_ptr<rs::Recordset> emptySet() {
    return rstest::makeRecordset({{"Id", AdoType::Integer}}, {});
}

// The one field's value after appending `in` to a field of the given type.
vb::Variant stored(AdoType type, const vb::Variant& in) {
    rs::RecordsetBuilder builder;
    builder.addField("F", type);
    builder.appendRow(std::array{in});
    return builder.finish()->field(0).value();
}

} // namespace

class RecordsetBuild : public testsupport::EnUsTest {};

TEST_F(RecordsetBuild, ValuesTakeTheKindOfTheirFieldsType) {
    const std::array<std::pair<AdoType, vb::VarType>, 19> kinds{{
        {AdoType::SmallInt, vb::VarType::Integer},
        {AdoType::Integer, vb::VarType::Long},
        {AdoType::Single, vb::VarType::Single},
        {AdoType::Double, vb::VarType::Double},
        {AdoType::Currency, vb::VarType::Currency},
        {AdoType::Date, vb::VarType::Date},
        {AdoType::BSTR, vb::VarType::String},
        {AdoType::Boolean, vb::VarType::Boolean},
        {AdoType::Variant, vb::VarType::Long},
        {AdoType::TinyInt, vb::VarType::Integer},
        {AdoType::UnsignedTinyInt, vb::VarType::Integer},
        {AdoType::BigInt, vb::VarType::Double},
        {AdoType::Char, vb::VarType::String},
        {AdoType::WChar, vb::VarType::String},
        {AdoType::DBTimeStamp, vb::VarType::Date},
        {AdoType::VarChar, vb::VarType::String},
        {AdoType::LongVarChar, vb::VarType::String},
        {AdoType::VarWChar, vb::VarType::String},
        {AdoType::LongVarWChar, vb::VarType::String},
    }};
    for (const auto& [type, kind] : kinds) {
        SCOPED_TRACE(static_cast<int>(type));
        EXPECT_EQ(stored(type, lng(7)).type(), kind);
    }
}

TEST_F(RecordsetBuild, ConvertsWithTheLanguagesRules) {
    EXPECT_EQ(stored(AdoType::Currency, vb::Variant(12.34567)).currencyValue().scaled, 123457);
    EXPECT_EQ(stored(AdoType::Integer, vb::Variant(2.5)).longValue(), 2); // half to even
    EXPECT_EQ(stored(AdoType::Date, "3/23/2003 2:05 PM").dateValue(),
              *vb::parseDate(u"2003/03/23 14:05:00", true));
    EXPECT_EQ(stored(AdoType::VarWChar, vb::Variant(12.5)).stringValue(), "12.5");
    EXPECT_EQ(stored(AdoType::Boolean, "True").boolValue(), true);
    EXPECT_EQ(stored(AdoType::BigInt, vb::Variant(3.5)).doubleValue(), 4.0);
    EXPECT_EQ(stored(AdoType::Variant, "7").stringValue(), "7");
}

TEST_F(RecordsetBuild, NullAndEmptyStoreAsNullAndEmptyTextIsNotNull) {
    for (AdoType type : {AdoType::Integer, AdoType::VarWChar, AdoType::Date, AdoType::Variant}) {
        EXPECT_TRUE(stored(type, null()).isNull());
        EXPECT_TRUE(stored(type, vb::Variant()).isNull());
    }
    EXPECT_EQ(stored(AdoType::VarWChar, ""), vb::Variant(""));
}

TEST_F(RecordsetBuild, TextsEqualButForCaseStayAsWritten) {
    auto records = rstest::makeRecordset({{"Id", AdoType::Integer}, {"Name", AdoType::VarWChar}},
                                         {{lng(1), "Smith"}, {lng(2), "SMITH"}, {lng(3), "Smith"}});
    EXPECT_EQ(records->valueAt(0, 1).stringValue(), "Smith");
    EXPECT_EQ(records->valueAt(1, 1).stringValue(), "SMITH");
    EXPECT_EQ(records->valueAt(2, 1).stringValue(), "Smith");
}

TEST_F(RecordsetBuild, NullBitsFollowRowsAcrossWordBoundaries) {
    rs::RecordsetBuilder builder;
    builder.addField("Id", AdoType::Integer);
    for (int i = 0; i < 200; ++i)
        builder.appendRow(std::array{i % 7 == 3 ? null() : lng(i)});
    auto records = builder.finish();
    for (int i = 0; i < 200; ++i) {
        const auto row = static_cast<std::size_t>(i);
        ASSERT_EQ(records->valueAt(row, 0), i % 7 == 3 ? null() : lng(i)) << i;
        ASSERT_EQ(records->isNullAt(row, 0), i % 7 == 3) << i;
    }
}

TEST_F(RecordsetBuild, ARowThatFailsToConvertIsNotAddedAtAll) {
    rs::RecordsetBuilder builder;
    builder.addField("Id", AdoType::Integer);
    builder.addField("Name", AdoType::VarWChar);
    builder.addField("Qty", AdoType::Integer);
    builder.addField("Small", AdoType::TinyInt);
    builder.appendRow(std::array{lng(1), vb::Variant("a"), lng(5), lng(1)});
    EXPECT_EQ(errorOf([&] {
                  builder.appendRow(std::array{lng(2), vb::Variant("b"), vb::Variant("x"), lng(1)});
              }),
              vb::err::TypeMismatch);
    EXPECT_EQ(errorOf([&] {
                  builder.appendRow(std::array{lng(2), vb::Variant("b"), lng(1), lng(300)});
              }),
              vb::err::Overflow);
    builder.appendRow(std::array{lng(3), vb::Variant("c"), lng(6), null()});
    auto records = builder.finish();
    ASSERT_EQ(records->recordCount(), 2u);
    EXPECT_EQ(records->valueAt(1, 0), lng(3));
    EXPECT_EQ(records->valueAt(1, 1), vb::Variant("c"));
}

TEST_F(RecordsetBuild, ColumnsFilledSeparatelyMustEndEven) {
    rs::RecordsetBuilder builder;
    builder.addField("A", AdoType::Integer);
    builder.addField("B", AdoType::Integer);
    builder.append(0, lng(1));
    EXPECT_THROW(builder.finish(), std::logic_error);
    builder.append(1, lng(2));
    EXPECT_EQ(builder.finish()->valueAt(0, 1), lng(2));
}

TEST(RecordsetFields, FoundByOrdinalOrByNameInAnyCase) {
    auto records = threeRows();
    EXPECT_EQ(records->field(u"clerk").index(), 1);
    EXPECT_EQ(records->field(u"CLERK").name(), "Clerk");
    EXPECT_EQ(records->field(1).type(), AdoType::VarWChar);
    EXPECT_EQ(records->field(1).definedSize(), 20);
    EXPECT_EQ(records->fieldIndex(u"Nope"), -1);
    const QString expected = "Item cannot be found in the collection corresponding to the "
                             "requested name or ordinal.";
    EXPECT_EQ(rstest::messageOf([&] { records->field(u"Nope"); }), expected);
    EXPECT_EQ(errorOf([&] { records->field(2); }), rs::err::ItemNotFound);
    EXPECT_EQ(errorOf([&] { records->field(-1); }), rs::err::ItemNotFound);
    EXPECT_EQ(errorOf([&] { records->valueAt(0, 5); }), rs::err::ItemNotFound);
}

TEST(RecordsetFields, FirstOfDuplicateNamesWins) {
    auto records = rstest::makeRecordset({{"Id", AdoType::Integer}, {"ID", AdoType::VarWChar}},
                                         {{lng(1), "one"}});
    EXPECT_EQ(records->field(u"id").value(), lng(1));
}

TEST(RecordsetCursor, EmptySetIsBofAndEofAtOnce) {
    auto records = emptySet();
    EXPECT_TRUE(records->bof());
    EXPECT_TRUE(records->eof());
    EXPECT_EQ(records->recordCount(), 0u);
    EXPECT_EQ(errorOf([&] { records->moveNext(); }), rs::err::NoCurrentRecord);
    EXPECT_EQ(errorOf([&] { records->moveFirst(); }), rs::err::NoCurrentRecord);
    EXPECT_EQ(errorOf([&] { records->moveLast(); }), rs::err::NoCurrentRecord);
    EXPECT_EQ(errorOf([&] { records->field(0).value(); }), rs::err::NoCurrentRecord);
}

TEST(RecordsetCursor, WalksBothWaysAndStopsPastEachEnd) {
    auto records = threeRows();
    EXPECT_FALSE(records->bof());
    EXPECT_EQ(idsByCursor(*records), (std::vector<int>{1, 2, 3}));
    EXPECT_TRUE(records->eof());
    EXPECT_FALSE(records->bof());
    const QString expected = "Either BOF or EOF is True, or the current record has been deleted. "
                             "Requested operation requires a current record.";
    EXPECT_EQ(rstest::messageOf([&] { records->field(0).value(); }), expected);
    EXPECT_EQ(errorOf([&] { records->moveNext(); }), rs::err::NoCurrentRecord);
    records->movePrevious();
    EXPECT_EQ(records->field(0).value(), lng(3));
    records->moveFirst();
    records->movePrevious();
    EXPECT_TRUE(records->bof());
    EXPECT_FALSE(records->eof());
    EXPECT_EQ(errorOf([&] { records->field(0).isNull(); }), rs::err::NoCurrentRecord);
    EXPECT_EQ(errorOf([&] { records->movePrevious(); }), rs::err::NoCurrentRecord);
    records->moveNext();
    EXPECT_EQ(records->field(0).value(), lng(1));
}

TEST(RecordsetCursor, CountAndPositionAfterMoveLast) {
    auto records = threeRows();
    records->moveLast();
    EXPECT_EQ(records->recordCount(), 3u);
    EXPECT_EQ(records->absolutePosition(), 3);
    EXPECT_EQ(records->field(u"Clerk").value(), vb::Variant("Cy"));
    records->moveNext();
    EXPECT_EQ(records->absolutePosition(), rs::PosEof);
    records->setAbsolutePosition(2);
    EXPECT_EQ(records->field(0).value(), lng(2));
    EXPECT_EQ(errorOf([&] { records->setAbsolutePosition(4); }), rs::err::BadArguments);
    EXPECT_EQ(errorOf([&] { records->setAbsolutePosition(0); }), rs::err::BadArguments);
}

TEST(RecordsetCursor, RandomAccessLeavesTheCursorAndChecksTheRow) {
    auto records = threeRows();
    records->moveNext();
    EXPECT_EQ(records->valueAt(2, 1), vb::Variant("Cy"));
    EXPECT_EQ(records->field(0).value(), lng(2));
    EXPECT_EQ(errorOf([&] { records->valueAt(3, 0); }), rs::err::NoCurrentRecord);
}

TEST(RecordsetClone, SharesRowsWithItsOwnCursorAndNoFilterOrSort) {
    auto original = threeRows();
    original->setSort("Id DESC");
    original->setFilter("Id <> 2");
    auto clone = original->clone();
    EXPECT_EQ(clone->filter(), "");
    EXPECT_EQ(clone->sort(), "");
    EXPECT_EQ(ids(*clone), (std::vector<int>{1, 2, 3}));
    clone->moveLast();
    EXPECT_EQ(original->field(0).value(), lng(3));
    EXPECT_EQ(original->absolutePosition(), 1);
    EXPECT_EQ(ids(*original), (std::vector<int>{3, 1}));
}

TEST(RecordsetClone, OutlivesTheRecordsetItCameFrom) {
    auto original = threeRows();
    auto clone = original->clone();
    original.reset();
    EXPECT_EQ(clone->valueAt(2, 1), vb::Variant("Cy"));
}

TEST(RecordsetHasRecords, FollowsTheCursorFlags) {
    EXPECT_FALSE(rs::fncHasRecords(nullptr));
    EXPECT_FALSE(rs::fncHasRecords(emptySet()));
    auto records = threeRows();
    EXPECT_TRUE(rs::fncHasRecords(records));
    records->moveLast();
    records->moveNext();
    EXPECT_TRUE(rs::fncHasRecords(records)); // EOF but not BOF
    records->setFilter("Id > 5");
    EXPECT_FALSE(rs::fncHasRecords(records));
}

namespace {

// Every value of a field among the rows shown, read row by row, as the answers must be.
std::vector<vb::Variant> shownValues(const rs::Recordset& records, int field) {
    std::vector<vb::Variant> out;
    for (std::size_t row = 0; row < records.recordCount(); ++row)
        if (!records.isNullAt(row, field)) out.push_back(records.valueAt(row, field));
    return out;
}

QStringList sortedTexts(const std::vector<vb::Variant>& values) {
    QStringList out;
    for (const vb::Variant& v : values)
        out.append(vb::cstr(v));
    out.sort();
    return out;
}

std::shared_ptr<rs::Recordset> mixedSigns() {
    return rstest::makeRecordset(
        {{"Id", AdoType::Integer}, {"Amount", AdoType::Double}, {"Clerk", AdoType::VarWChar, 9}},
        {{lng(1), vb::Variant(-40.5), "Ann"},
         {lng(2), vb::Variant(0.25), "ann"},
         {lng(3), null(), null()},
         {lng(4), vb::Variant(-0.5), "Bob"},
         {lng(5), vb::Variant(0.0), "Ann"},
         {lng(6), vb::Variant(1200.0), "Cy"},
         {lng(7), vb::Variant(0.25), "Bob"}});
}

} // namespace

class RecordsetIdentity : public testsupport::EnUsTest {};

TEST_F(RecordsetIdentity, ABookmarkFindsItsRowThroughSortsAndFilters) {
    const auto records = mixedSigns();
    const rs::Recordset::Bookmark fourth = records->bookmarkAt(3);
    records->setSort(u"[Amount] DESC"_s);
    ASSERT_GE(records->rowOfBookmark(fourth), 0);
    EXPECT_EQ(records->valueAt(std::size_t(records->rowOfBookmark(fourth)), 0).longValue(), 4);
    records->setFilter(u"Amount < 0"_s);
    EXPECT_EQ(records->valueAt(std::size_t(records->rowOfBookmark(fourth)), 0).longValue(), 4);
    EXPECT_EQ(records->rowOfBookmark(records->clone()->bookmarkAt(5)), -1); // filtered away
    // Every shown row's bookmark leads back to it.
    for (std::size_t row = 0; row < records->recordCount(); ++row)
        EXPECT_EQ(records->rowOfBookmark(records->bookmarkAt(row)), std::ptrdiff_t(row));
    EXPECT_EQ(records->rowOfBookmark(99), -1);
    EXPECT_EQ(errorOf([&] { records->bookmarkAt(records->recordCount()); }), 3021);
}

TEST_F(RecordsetIdentity, DistinctValuesAreThoseOfTheRowsShownOnceEach) {
    const auto records = mixedSigns();
    for (const QString& filter : {QString(), u"Id > 3"_s, u"Clerk = 'Bob'"_s}) {
        records->setFilter(filter);
        records->setSort(u"[Clerk] DESC"_s);
        for (int field : {1, 2}) {
            QStringList expected = sortedTexts(shownValues(*records, field));
            expected.removeDuplicates();
            EXPECT_EQ(sortedTexts(records->distinctValues(field)), expected)
                << filter.toStdString() << " field " << field;
        }
    }
    EXPECT_EQ(errorOf([&] { records->distinctValues(7); }), 3265);
}

TEST_F(RecordsetIdentity, ExtremesAreTheEndsAndTheValuesNearestZero) {
    const auto records = mixedSigns();
    EXPECT_EQ(sortedTexts(records->extremeValues(1)),
              (QStringList{u"-0.5"_s, u"-40.5"_s, u"0"_s, u"0.25"_s, u"1200"_s}));
    records->setFilter(u"Id <= 2"_s);
    EXPECT_EQ(sortedTexts(records->extremeValues(1)), (QStringList{u"-40.5"_s, u"0.25"_s}));
    // A text column has no extremes but its distinct texts.
    EXPECT_EQ(sortedTexts(records->extremeValues(2)), (QStringList{u"Ann"_s, u"ann"_s}));
}
