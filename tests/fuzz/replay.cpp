// Stands in for libFuzzer in the tests: runs a fuzzer on the files of a folder, as they are, cut, and with some bytes
// changed, each time in the same way.

#include <array>
#include <csignal>
#include <cstdint>
#include <cstdio>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <random>
#include <string>
#include <unistd.h>

extern "C" int LLVMFuzzerTestOneInput(std::uint8_t const* data, std::size_t size);

namespace {

std::array<char, 300> input{};  // how to get it

extern "C" void TellInput(int) {
  [[maybe_unused]] auto const ignored = write(STDERR_FILENO, input.data(), input.size());
}

void Run(std::string const& file, char const* change, int round, std::string const& bytes) {
  std::snprintf(input.data(), input.size(), "failed: %s, %s %d\n", file.c_str(), change, round);
  LLVMFuzzerTestOneInput(reinterpret_cast<std::uint8_t const*>(bytes.data()), bytes.size());
}

}  // namespace

int main(int, char** arguments) {
  std::signal(SIGABRT, TellInput);
  int num_files = 0;
  for (auto const& entry : std::filesystem::directory_iterator(arguments[1])) {
    std::ifstream file(entry.path(), std::ios::binary);
    std::string const bytes(std::istreambuf_iterator<char>(file), {});
    std::string const name = entry.path().filename();
    ++num_files;
    Run(name, "as it is", 0, bytes);
    std::mt19937 random(1);
    for (int round = 0; round < 50; ++round) Run(name, "cut", round, bytes.substr(0, random() % (bytes.size() + 1)));
    for (int round = 0; round < 250 && !bytes.empty(); ++round) {
      std::string changed = bytes;
      for (int i = 0; i <= round % 3; ++i) {
        char& byte = changed[random() % bytes.size()];
        byte = static_cast<char>(round % 2 == 0 ? byte ^ 1 << random() % 8 : static_cast<int>(random()));
      }
      Run(name, "changed", round, changed);
    }
  }
  std::printf("%d files\n", num_files);
  return num_files == 0 ? 1 : 0;
}
