// Calls of the C surface by name, as a script writes them: "AddSat 5 100 6378 0.07 1".
#pragma once

#include <array>
#include <cmath>
#include <cstdint>
#include <functional>
#include <gtest/gtest.h>
#include <iomanip>
#include <map>
#include <span>
#include <sstream>
#include <string>
#include <tuple>
#include <vector>

using Words = std::istringstream;
using Variables = std::map<std::string, std::string>;

// The next word, or text between quotes. Each {name} in it is replaced by what the variable holds.
std::string TakeWord(Words& words, const Variables& variables);

// The variables put into the text.
std::string Replaced(std::string text, const Variables& variables);

template <typename Number>
Number ToNumber(const std::string& word) {
    char* end = nullptr;
    Number number;
    if constexpr (std::is_floating_point_v<Number>) {
        number = std::strtod(word.c_str(), &end);
    } else {
        number = static_cast<Number>(std::strtoll(word.c_str(), &end, 10));
    }
    EXPECT_TRUE(!word.empty() && *end == '\0') << '"' << word << '"';
    return number;
}

// "1,2.5,4..6" are the numbers 1, 2.5, 4, 5 and 6.
template <typename Number>
std::vector<Number> ToNumbers(const std::string& list) {
    std::vector<Number> numbers;
    std::istringstream stream(list);
    for (std::string word; std::getline(stream, word, ',');) {
        const auto dots = word.find("..");
        numbers.push_back(ToNumber<Number>(word.substr(0, dots)));
        if (dots == std::string::npos) continue;
        while (numbers.back() < ToNumber<Number>(word.substr(dots + 2))) numbers.push_back(numbers.back() + 1);
    }
    return numbers;
}

// What the script tells of the outputs, from the next one on.
using Expected = std::span<const std::string>;

// An argument of a call. Those that the caller gives come from the script; the others are room for what comes back,
// with a guard after it.
template <typename Value>
struct Argument {
    explicit Argument(Words& words, const Variables& variables, const std::size_t*&)
        : value(ToNumber<Value>(TakeWord(words, variables))) {}
    Value Pass() const { return value; }
    void Check(Expected&, bool) const {}
    Value value;
};

template <typename Value>
struct Argument<const Value*> {
    static constexpr bool kPointer = true;
    explicit Argument(Words& words, const Variables& variables, const std::size_t*&) {
        const std::string word = TakeWord(words, variables);
        if constexpr (std::is_same_v<Value, char>) {
            values.assign(word.c_str(), word.c_str() + word.size() + 1);
        } else {
            values = ToNumbers<Value>(word);
        }
    }
    const Value* Pass() const { return isNull ? nullptr : values.data(); }
    void Check(Expected&, bool) const {}
    std::vector<Value> values;
    bool isNull = false;
};

template <typename Value>
struct Argument<Value*> {
    static constexpr bool kPointer = true;
    static constexpr Value kUntouched = std::is_same_v<Value, char> ? '#' : -77;
    // A list of keys is as long as the store; other outputs are cleared.
    static constexpr Value kCleared = std::is_same_v<Value, char>           ? ' '
                                      : std::is_same_v<Value, std::int64_t> ? kUntouched
                                                                            : 0;
    explicit Argument(Words&, const Variables&, const std::size_t*& lengths)
        : length(*lengths++), values(length + 8, kUntouched) {}
    Value* Pass() { return isNull ? nullptr : values.data(); }

    // What the script does not tell must be zeros or blanks after a failure, and is not compared after a success.
    void Check(Expected& expected, bool failed) const {
        for (std::size_t i = length; i < values.size(); ++i) EXPECT_EQ(values[i], kUntouched) << "beside the array";
        std::string word = failed ? "" : "*";
        if (!expected.empty()) {
            word = expected.front();
            expected = expected.subspan(1);
        }
        if (word == "*" || isNull) return;
        std::vector<Value> wanted(word.begin(), word.end());
        const bool nearly = word.starts_with("~");
        if constexpr (!std::is_same_v<Value, char>) {
            wanted = ToNumbers<Value>(word.substr(nearly ? 1 : 0));
        } else if (nearly) {
            EXPECT_EQ("~" + std::string(values.data(), word.size() - 1), word);
            return;
        }
        EXPECT_LE(wanted.size(), length) << word;
        wanted.resize(length, kCleared);
        for (std::size_t i = 0; i < length && !testing::Test::HasFailure(); ++i) {
            const auto got = values[i], want = wanted[i];
            const bool same = got == want || (got != got && want != want);
            const bool near = nearly && std::abs(double(got - want)) <= 1e-9 * std::max(1.0, std::abs(double(want)));
            EXPECT_TRUE(same || near) << "element " << i << ": " << std::setprecision(17) << got << " for " << want;
        }
    }

    std::size_t length;
    std::vector<Value> values;
    bool isNull = false;
};

// A call by its name. It takes its arguments from the words and gives its result; `expected` are the outputs wanted,
// and `nullPlace` is the pointer that is null, counted from 0.
struct Call {
    std::function<std::int64_t(Words&, const Variables&, const std::vector<std::string>& expected, int nullPlace)> make;
    int pointers;
};

const std::map<std::string, Call>& CallsByName();
