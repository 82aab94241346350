// SPDX-FileCopyrightText: 2026 The fibdb authors
// SPDX-License-Identifier: Apache-2.0
// tests/fuzz/replay.cc: runs a fuzz target over kept inputs, for every compiler and without a fuzzer.   replay FOLDER
#include <cstdint>
#include <cstdio>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <string>

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size);

int main(int argc, char** argv) {
  if (argc != 2) return 2;
  int inputs = 0;
  for (const auto& entry : std::filesystem::directory_iterator(argv[1])) {
    std::ifstream file(entry.path(), std::ios::binary);
    const std::string bytes{std::istreambuf_iterator<char>(file), {}};
    std::printf("%s\n", entry.path().filename().c_str());  // the last one named is the one that failed
    std::fflush(stdout);
    LLVMFuzzerTestOneInput(reinterpret_cast<const uint8_t*>(bytes.data()), bytes.size());
    ++inputs;
  }
  std::printf("%d inputs\n", inputs);
  return inputs > 0 ? 0 : 1;
}
