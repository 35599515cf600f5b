// The Digit Viewer's menus: the path, then the choices for a compressed or
// a text file.
#include "tools/digit_viewer.h"

#include "memory/heap.h"
#include "platform/console.h"
#include "platform/version.h"
#include "tools/digit_reader.h"
#include "tools/viewer_internal.h"

namespace {

constexpr size_t pathCapacity = 1024;

void printChoice(const char* option, const char* text) {
  printWide(option);
  printWide(text);
  printWide("\n");
}

void printTotal(const DigitReader* reader) {
  printWide("Total Digits after decimal place: ");
  setColor(10);
  printGrouped(reader->totalDigits, 0);
  setColor(7);
  printWide("\n");
}

}  // namespace

void digitViewerMenu() {
  printWide(programName);
  printWide(" Digit Viewer v1.1 (fix 1)\n\n");
  printWide("Enter the path of the file (include .txt or .zdg extensions):\n");
  char path[pathCapacity];
  readPathLine(path, sizeof path);
  printWide("\n");
  if (checkExtension(path) == digitFileCompressed) {
    viewCompressed(path);
  } else {
    viewText(path);
  }
}

void viewCompressed(const char* path) {
  Heap heap;
  heapInit(nullptr, &heap, toolHeapBytes);
  DigitReader reader;
  openCompressedDigits(&heap, &reader, path);
  printWide(reader.nameLong);
  printWide("\n");
  printTotal(&reader);
  printWide("First Digits:  ");
  setColor(14);
  printWide(reader.firstDigits);
  setColor(7);
  printWide("\nCompressed by: ");
  setColor(2);
  printWide(reader.programName);
  setColor(7);
  printWide("\n\nWhat would you like to do?\n\n");
  printChoice("  0     ", "View a small range of digits.");
  printChoice("  1     ", "Decompress a range of digits to a text file.");
  printWide("\nEnter your choice:\n");
  if (readMenuOption("option: ", 0, 1) == 0) {
    viewRange(&reader);
  } else {
    decompressRange(&reader);
  }
  closeDigits(&reader);
  heapDestroy(&heap);
}

void viewText(const char* path) {
  DigitReader reader;
  openTextDigits(&reader, path);
  printTotal(&reader);
  printWide("\nWhat would you like to do?\n\n");
  printChoice("  0     ", "View a small range of digits.");
  printChoice("  1     ", "Compress the digits into one or more .zdg file.");
  printWide("\nEnter your choice:\n");
  if (readMenuOption("option: ", 0, 1) == 0) {
    viewRange(&reader);
  } else {
    Heap heap;
    heapInit(nullptr, &heap, toolHeapBytes);
    compressDigits(&heap, &reader);
    heapDestroy(&heap);
  }
  closeDigits(&reader);
}
