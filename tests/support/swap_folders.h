// Swap folders for a scope: made under one temporary folder, set as the
// run's swap paths while the scope lives, and removed with what they hold
// at its end.
#pragma once

#include <sys/stat.h>

#include <string>
#include <vector>

#include "memory/raidfile.h"
#include "support/run_program.h"

struct SwapFolders {
  std::string root = makeTempFolder();
  std::vector<std::string> texts;
  std::vector<char*> pointers;
  PathList list;
  PathList* saved = globalSwapPaths;
  // Folders of these names (a trailing separator is kept in the path).
  explicit SwapFolders(const std::vector<std::string>& names) {
    for (const std::string& name : names) {
      texts.push_back(root + "/" + name);
      mkdir(texts.back().substr(0, texts.back().find_last_not_of('/') + 1).c_str(), 0755);
    }
    for (std::string& text : texts) pointers.push_back(text.data());
    list = {texts.size(), pointers.data()};
    globalSwapPaths = &list;
  }
  // Folders p0, p1, ...
  explicit SwapFolders(uint32_t count) : SwapFolders(numbered(count)) {}
  static std::vector<std::string> numbered(uint32_t count) {
    std::vector<std::string> names;
    for (uint32_t i = 0; i < count; i++) names.push_back("p" + std::to_string(i));
    return names;
  }
  // True when no swap file is left in any of them.
  bool empty() const {
    for (const std::string& text : texts) {
      if (!listFolder(text).empty()) return false;
    }
    return true;
  }
  ~SwapFolders() {
    globalSwapPaths = saved;
    removeTree(root);
  }
};
