// Reading digits from either kind of digit file through one DigitReader
// (digits/zdg.h): text files ("3.14159...", digits after the first point
// within the first 63 bytes) and compressed files. Every failure is fatal.
#pragma once

#include <cstdint>

#include "digits/zdg.h"

struct Heap;

// The kind a path names by its last four characters, exactly ".txt" or
// ".zdg" in lower case after at least one other character. Anything else is
// fatal: "Unrecognized file extension.".
DigitFileKind checkExtension(const char* path);

// Opens a text file: the head is everything up to the first "." within the
// first 63 bytes ("A decimal place was not found within the first 63 bytes
// of the file." otherwise); totalDigits is the rest of the file. The radix
// is 16 (any hexadecimal digit passes) until the caller sets it.
void openTextDigits(DigitReader* reader, const char* path);
// Opens a compressed file (any block of a series) with its buffer from `heap`.
void openCompressedDigits(Heap* heap, DigitReader* reader, const char* path);

// The value of the next digit. Text: a character outside the radix is fatal
// ("Invalid Digit"); both kinds: past the end "No more digits left.", a file
// cut short "Read Fault".
uint32_t nextDigit(DigitReader* reader);
// Fills values[0 .. count) with the next digits; the same fatal endings.
void readDigits(DigitReader* reader, uint8_t* values, uint64_t count);
// Moves to digit n (0 is the first digit after the point), n <= totalDigits.
void seekDigit(DigitReader* reader, uint64_t n);
void closeDigits(DigitReader* reader);

// The head of the number up to and including the point, from firstDigits
// (owned by the caller, free()). Empty when firstDigits has no point.
char* digitHead(const DigitReader* reader);
