#pragma once

#include <cstddef>
#include <istream>
#include <string>

#include "ZanSourceLocation.h"

// Reading text forms. Numbers and characters are those of the classic locale, whatever the
// stream's; nothing reads past the end of a stream or loops on a failed one.

// A number after white space. False, with failbit set, if there is none or it is out of range; an
// unsigned one has no sign.
bool qelReadNumber(std::istream & in, double & number);
bool qelReadNumber(std::istream & in, unsigned & number);

// Skips white space; sets only eofbit at the end of the stream.
void qelSkipSpace(std::istream & in);

// The characters up to the next one that is not a letter, digit or "_", at most `most`. May be
// empty.
std::string qelReadWord(std::istream & in, std::size_t most);

// The characters up to the next `end`, which stays, at most `most`; all the rest if there is none.
std::string qelReadUntil(std::istream & in, char end, std::size_t most);

// Takes `count` characters. False, with failbit set, if there are fewer.
bool qelSkip(std::istream & in, int count);

// Takes everything up to and including `wanted`. False, with failbit set, if it is not found.
bool qelSkipPast(std::istream & in, char wanted);

// Takes the next character if it is `wanted`.
bool qelTake(std::istream & in, char wanted);

// The next character, which stays; a negative number at the end or on a failed stream.
int qelPeek(std::istream & in);

// Takes white space and then exactly the characters of `text`. Raises invalidValue (13) with
// `refusal`, and sets failbit, for anything else; `here` is the calling reader.
void qelExpect(std::istream & in, char const * text, char const * refusal,
               ZanSourceLocation const & here = ZanSourceLocation::current());

// The name of a unit, as a QelValue reads it after its number. False, with badbit set, for any
// other word. Defined with QelValue.
bool qelReadUnit(std::istream & in, int & unit);

// A number in the fewest digits that read back the same, whatever a stream's locale and flags.
std::string qelShortest(double number);
std::string qelShortest(int number);
