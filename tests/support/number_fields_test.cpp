#include "support/number_fields.h"

#include "helpers/tables.h"

using namespace VecTableSupport;

namespace {

constexpr double kUntouched = -99.0;

template <typename Number, typename Read>
void CheckField(const std::string& field, const std::string& expected, Read read) {
    Number value = static_cast<Number>(kUntouched);
    const std::vector<double> wanted = Numbers(expected);
    EXPECT_EQ(read(field, value), wanted.empty() ? ReadStatus::kError : ReadStatus::kOk) << '"' << field << '"';
    EXPECT_EQ(value, wanted.empty() ? kUntouched : wanted[0]) << '"' << field << '"';
}

}  // namespace

TEST(NumberFields, FixedFieldsAreReadOrRefused) {
    for (const Row& row : ReadTable("real_fields.txt")) {
        CheckField<double>(WithBlanks(row[0]), row[2], [&](std::string_view field, double& value) {
            return ReadRealField(field, std::stoi(row[1]), value);
        });
    }
    for (const Row& row : ReadTable("integer_fields.txt")) {
        CheckField<std::int32_t>(WithBlanks(row[0]), row[1], ReadIntegerField);
    }
    CheckField<double>("", "0", [](std::string_view field, double& value) { return ReadRealField(field, 6, value); });
}

TEST(NumberFields, FreeFormTakesBlanksTabsAndCommas) {
    for (const Row& row : ReadTable("free_form.txt")) {
        std::vector<double> values(3, kUntouched);
        const ReadStatus status = ReadFreeForm(row[0], values);
        EXPECT_EQ(status == ReadStatus::kOk          ? "ok"
                  : status == ReadStatus::kEndOfData ? "end"
                                                     : "error",
                  row[1])
            << row[0];
        EXPECT_EQ(values, Numbers(row[2])) << row[0];
    }
    FreeFormScanner scanner("12, 4.5 6.5");
    std::int32_t whole = 0;
    double real = 0.0;
    EXPECT_EQ(scanner.Next(whole), ReadStatus::kOk);
    EXPECT_EQ(scanner.Next(real), ReadStatus::kOk);
    EXPECT_EQ(scanner.Next(whole), ReadStatus::kError);
    EXPECT_EQ(whole + real, 16.5);
}
