// Texts for people: what comes from files made safe to show, numbers as text.
#pragma once

#include <cstddef>
#include <string>
#include <string_view>

namespace Vectab {

// The text with a question mark for every control character, and for every byte that is not of UTF-8, so that no file
// can steer the terminal.
std::string Printable(std::string_view text);

std::string_view WithoutOuterBlanks(std::string_view text) noexcept;

// The shortest text that reads back as the same number.
std::string Shortest(double value);

std::string Fixed(double value, int decimals);

// Four significant digits, without decimals from 1000 on, and with an exponent from 10^12 on.
std::string FourDigits(double value);

// "1 point", "2 points".
std::string Counted(std::size_t count, std::string_view noun);

// Writes "vectab: " and a message as one line to standard error.
void Complain(std::string_view message);

}  // namespace Vectab
