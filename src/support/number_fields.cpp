#include "support/number_fields.h"

#include <algorithm>
#include <array>
#include <charconv>

#include "support/text.h"

namespace VecTableSupport {
namespace {

// A number with a D exponent is copied into a buffer of this size to be read; no sensible number is longer.
constexpr std::size_t kLongestNumber = 512;

// std::from_chars reads correctly rounded numbers, whatever the locale, but knows no leading plus sign and no D
// exponent, and takes `inf` and `nan`. These three are settled here. The result is the place after the number, or null
// where no number begins.
const char* ScanNumber(const char* first, const char* last, double& value) noexcept {
    const char* digits = first != last && (*first == '+' || *first == '-') ? first + 1 : first;
    if (digits == last || !(IsDigit(*digits) || *digits == '.')) return nullptr;
    const char* start = *first == '+' ? digits : first;
    const auto [after, error] = std::from_chars(start, last, value);
    if (error != std::errc()) return nullptr;
    if (after == last || ToUpperCase(*after) != 'D') return after;

    std::array<char, kLongestNumber> copy;
    if (static_cast<std::size_t>(after - start) >= copy.size()) return nullptr;
    if (static_cast<std::size_t>(last - start) > copy.size()) last = start + copy.size();
    char* copyEnd = std::copy(start, last, copy.data());
    copy[static_cast<std::size_t>(after - start)] = 'E';
    const auto [copyAfter, copyError] = std::from_chars(copy.data(), copyEnd, value);
    return copyError == std::errc() ? start + (copyAfter - copy.data()) : nullptr;
}

const char* ScanNumber(const char* first, const char* last, std::int32_t& value) noexcept {
    if (first != last && *first == '+') {
        ++first;
        if (first == last || !IsDigit(*first)) return nullptr;
    }
    const auto [after, error] = std::from_chars(first, last, value);
    return error == std::errc() ? after : nullptr;
}

template <typename Number>
ReadStatus ReadWhole(std::string_view text, Number& value) noexcept {
    Number read{};
    if (ScanNumber(text.data(), text.data() + text.size(), read) != text.data() + text.size())
        return ReadStatus::kError;
    value = read;
    return ReadStatus::kOk;
}

// The characters of a field without its blanks, with room for the zeros and the point of an implied fraction.
class CompactField {
  public:
    explicit CompactField(std::string_view field) noexcept {
        for (const char c : field) {
            if (c == ' ') continue;
            if (length_ == kWidest) {
                fits_ = false;
                return;
            }
            chars_[length_++] = c;
        }
    }

    bool Fits() const noexcept { return fits_; }
    std::string_view View() const noexcept { return {chars_.data(), length_}; }

    // Writes the point that the field leaves to its layout before the last `decimals` digits.
    void PutPoint(std::size_t decimals) noexcept {
        const auto sign = static_cast<std::size_t>(chars_[0] == '+' || chars_[0] == '-');
        auto digitsEnd = std::min(View().find_first_of("EeDd"), length_);
        if (digitsEnd <= sign) return;
        if (digitsEnd - sign < decimals) {
            const auto zeros = decimals - (digitsEnd - sign);
            Insert(sign, zeros, '0');
            digitsEnd += zeros;
        }
        Insert(digitsEnd - decimals, 1, '.');
    }

  private:
    static constexpr std::size_t kWidest = 64;
    static constexpr std::size_t kMostDecimals = 32;

    void Insert(std::size_t place, std::size_t count, char c) noexcept {
        std::copy_backward(chars_.data() + place, chars_.data() + length_, chars_.data() + length_ + count);
        std::fill_n(chars_.data() + place, count, c);
        length_ += count;
    }

    std::array<char, kWidest + kMostDecimals + 1> chars_;
    std::size_t length_ = 0;
    bool fits_ = true;
};

// A field of a few digits and blanks, as nearly all are. False for any other.
bool ReadPlainDigits(std::string_view field, std::int32_t& value) noexcept {
    constexpr std::size_t kAlwaysFit = 9;
    if (field.size() > kAlwaysFit) return false;
    std::int32_t read = 0;
    for (const char c : field) {
        if (c == ' ') continue;
        if (!IsDigit(c)) return false;
        read = read * 10 + (c - '0');
    }
    value = read;
    return true;
}

// A number in one piece, with a point of its own where decimals are implied, as nearly all are. False for any other.
bool ReadPlainReal(std::string_view field, int decimals, double& value) noexcept {
    field = WithoutTrailingBlanks(WithoutLeadingBlanks(field));
    const bool scaled = decimals == 0 || field.find('.') != std::string_view::npos;
    return scaled && ReadWhole(field, value) == ReadStatus::kOk;
}

}  // namespace

ReadStatus ReadIntegerField(std::string_view field, std::int32_t& value) noexcept {
    if (ReadPlainDigits(field, value)) return ReadStatus::kOk;
    const CompactField compact(field);
    if (!compact.Fits()) return ReadStatus::kError;
    if (compact.View().empty()) {
        value = 0;
        return ReadStatus::kOk;
    }
    return ReadWhole(compact.View(), value);
}

ReadStatus ReadRealField(std::string_view field, int decimals, double& value) noexcept {
    if (ReadPlainReal(field, decimals, value)) return ReadStatus::kOk;
    CompactField compact(field);
    if (!compact.Fits()) return ReadStatus::kError;
    if (compact.View().empty()) {
        value = 0.0;
        return ReadStatus::kOk;
    }
    if (decimals > 0 && compact.View().find('.') == std::string_view::npos) {
        compact.PutPoint(static_cast<std::size_t>(decimals));
    }
    return ReadWhole(compact.View(), value);
}

void FreeFormScanner::SkipBlanks() noexcept {
    while (next_ != end_ && IsBlankOrTab(*next_)) ++next_;
}

// Moves to the next value, or to the comma that ends an empty place.
ReadStatus FreeFormScanner::FindValue() noexcept {
    SkipBlanks();
    if (afterValue_ && next_ != end_ && *next_ == ',') {
        ++next_;
        SkipBlanks();
    }
    if (next_ == end_) return ReadStatus::kEndOfData;
    afterValue_ = true;
    return ReadStatus::kOk;
}

template <typename Number>
ReadStatus FreeFormScanner::NextNumber(Number& value) noexcept {
    const ReadStatus found = FindValue();
    if (found != ReadStatus::kOk || *next_ == ',') return found;

    Number read{};
    const char* after = ScanNumber(next_, end_, read);
    if (after == nullptr) return ReadStatus::kError;
    if (after != end_ && !IsBlankOrTab(*after) && *after != ',') return ReadStatus::kError;
    next_ = after;
    value = read;
    return ReadStatus::kOk;
}

ReadStatus FreeFormScanner::Next(double& value) noexcept {
    return NextNumber(value);
}

ReadStatus FreeFormScanner::Next(std::int32_t& value) noexcept {
    return NextNumber(value);
}

ReadStatus FreeFormScanner::SkipWord() noexcept {
    const ReadStatus found = FindValue();
    while (found == ReadStatus::kOk && next_ != end_ && !IsBlankOrTab(*next_) && *next_ != ',') ++next_;
    return found;
}

ReadStatus ReadFreeForm(std::string_view text, std::span<double> values) noexcept {
    FreeFormScanner scanner(text);
    for (double& value : values) {
        const ReadStatus status = scanner.Next(value);
        if (status != ReadStatus::kOk) return status;
    }
    return ReadStatus::kOk;
}

}  // namespace VecTableSupport
