// Console output captured for a scope, with scripted standard input.
#pragma once

#include <string>

#include "platform/console.h"

struct Capture {
  std::string text;
  explicit Capture(const char* input = nullptr) { consoleCaptureTo(&text), consoleInputFrom(input); }
  ~Capture() { consoleCaptureTo(nullptr), consoleInputFrom(nullptr); }
};

// Console output of `body`, with `input` as standard input.
template <typename Body>
std::string captured(const char* input, Body body) {
  Capture capture(input);
  body();
  return capture.text;
}

#define EXPECT_HAS(text, piece) EXPECT_NE((text).find(piece), std::string::npos) << (text)
#define EXPECT_LACKS(text, piece) EXPECT_EQ((text).find(piece), std::string::npos) << (text)
