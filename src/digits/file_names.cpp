// Names of the digit files, and the integer-digit counts that the root
// constants hand to the writers.
#include <cstdio>
#include <cstdlib>
#include <cstring>

#include "constants/compute_settings.h"
#include "digits/digit_writer.h"
#include "platform/console.h"

namespace {

// A growing text: capacity starts at 16 characters and doubles when full.
struct NameText {
  char* text;
  size_t length;
  size_t capacity;
};

void nameAppend(NameText* name, const char* piece) {
  size_t add = strlen(piece);
  if (name->length + add + 1 > name->capacity) {
    size_t capacity = name->capacity;
    while (name->length + add + 1 > capacity) capacity *= 2;
    char* grown = static_cast<char*>(realloc(name->text, capacity));
    if (grown == nullptr) fatalMemory();
    name->text = grown;
    name->capacity = capacity;
  }
  memcpy(name->text + name->length, piece, add + 1);
  name->length += add;
}

}  // namespace

char* digitFileName(const ComputeSettings* settings, uint32_t radix, uint32_t labelFlag) {
  NameText name;
  name.capacity = 16;
  name.length = 0;
  name.text = static_cast<char*>(malloc(name.capacity));
  if (name.text == nullptr) fatalMemory();
  name.text[0] = 0;

  const char* path = settings->outputPath;
  if (path != nullptr && path[0] != 0) {
    nameAppend(&name, path);
    char last = path[strlen(path) - 1];
    if (last != '/' && last != '\\') nameAppend(&name, "/");
  }

  if (settings->constantId == constantSqrtN) {
    char word[24];
    snprintf(word, sizeof word, "Sqrt(%u)", settings->constantParameter);
    nameAppend(&name, word);
  } else if (settings->nameShort != nullptr) {
    nameAppend(&name, settings->nameShort);
  }
  nameAppend(&name, radix == 16 ? " - Hex - " : " - Dec - ");

  // Compute-and-verify algorithms have no file word: the label names the value.
  const char* word = nullptr;
  if (settings->algorithmShortNames != nullptr && settings->algorithm < algorithmCount(settings)) {
    word = settings->algorithmShortNames[settings->algorithm];
  }
  if (word == nullptr) word = labelFlag == 0 ? "Computation" : "Verification";
  nameAppend(&name, word);

  if (settings->digitsPerFile == 0) nameAppend(&name, ".txt");
  return name.text;
}

uint64_t hexIntegerDigits(uint32_t topWord) {
  uint64_t digits = 0;
  for (; topWord != 0; topWord >>= 4) digits++;
  return digits;
}

uint64_t decimalIntegerDigits(uint32_t topWord) {
  uint64_t digits = 0;
  for (; topWord != 0; topWord /= 10) digits++;
  return digits;
}
