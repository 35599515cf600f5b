// Steps of the retry protocol shared by the square and product front ends
// (internal to the front ends).
#pragma once

#include <cstdint>

#include "memory/bigint.h"

struct Heap;

// First steps after a detected failure of attempt next - 1: with ECC
// disabled the hardware-error report ends the program; otherwise errorCount
// grows by one and the message of `next` is printed (next 3 ends the
// program).
void retryRecordFailure(uint32_t next);

// The run with different parameters works on 2a (and 2b). In memory the
// operand may be read by another thread meanwhile (the threads of the base
// conversion share the table's entries), so `copy` gets 2 * number in a new
// array from the heap and the record itself is left alone; bigIntDestroy
// ends the copy.
void retryDoubledCopy(Heap* heap, BigInt* number, BigInt* copy);
// On the disk path these change the
// operand in place and back. Its disk copy is dropped before each change;
// with `diskPath` the changed number is pushed out again (written anew).
void retryDoubleOperand(Heap* heap, BigInt* number, bool diskPath);
void retryHalveOperand(Heap* heap, BigInt* number, bool diskPath);
// The product of the doubled operands is 4 times too big: shift it back.
void retryQuarterProduct(Heap* heap, BigInt* product, bool diskPath);
