// Numbers in the text of a file: fixed fields and free form, one grammar for all readers.
//
// A number has an optional sign, digits, for a real a decimal point, and an exponent with E, e, D or d. Reals are
// correctly rounded. `nan`, `inf`, hexadecimal, repeat counts and values out of the range of their type are no numbers.
#pragma once

#include <cstdint>
#include <span>
#include <string_view>

namespace VecTableSupport {

// How the reading of a line, or of a value, went.
enum class ReadStatus : std::int32_t {
    kEndOfData = -1,  // end of file, or the text ran out before the last value
    kOk = 0,
    kError = 1,  // a read error, or a value that is not of its type
};

// Fixed fields: the text is the field, its width exact; columns after the end of a line are blanks, so a short or
// empty text is a valid field. Blanks in it do not count, and an all-blank field is 0. On an error the value stays.
ReadStatus ReadIntegerField(std::string_view field, std::int32_t& value) noexcept;

// Without a decimal point in the field the last `decimals` digits are the fraction.
ReadStatus ReadRealField(std::string_view field, int decimals, double& value) noexcept;

// Free form: values separated by blanks, tabs or one comma. A place left empty between two commas leaves its target as
// it was; what follows the last wanted value is never looked at.
class FreeFormScanner {
  public:
    explicit FreeFormScanner(std::string_view text) noexcept : next_(text.data()), end_(text.data() + text.size()) {}

    ReadStatus Next(double& value) noexcept;
    ReadStatus Next(std::int32_t& value) noexcept;

    // Passes over a word of any kind.
    ReadStatus SkipWord() noexcept;

    // Goes on in a further text, as after a line end.
    void GoOn(std::string_view text) noexcept {
        next_ = text.data();
        end_ = text.data() + text.size();
    }

  private:
    ReadStatus FindValue() noexcept;
    template <typename Number>
    ReadStatus NextNumber(Number& value) noexcept;
    void SkipBlanks() noexcept;

    const char* next_;
    const char* end_;
    bool afterValue_ = false;
};

// Reads one value after the other until all are in; those before a failure have been replaced.
ReadStatus ReadFreeForm(std::string_view text, std::span<double> values) noexcept;

}  // namespace VecTableSupport
