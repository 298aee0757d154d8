// Runs a fuzzer's inputs once: those in the folders and files that the command line names.

#include <cstdint>
#include <cstdio>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <vector>

extern "C" int LLVMFuzzerInitialize(int* count, char*** arguments);
extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size);

namespace {

int inputs = 0;

void run(const std::filesystem::path& path) {
  std::ifstream file(path, std::ios::binary);
  const std::vector<char> input{std::istreambuf_iterator<char>(file), {}};
  std::fprintf(stderr, "%s\n", path.filename().string().c_str());
  LLVMFuzzerTestOneInput(reinterpret_cast<const std::uint8_t*>(input.data()), input.size());
  ++inputs;
}

}  // namespace

int main(int count, char** arguments) {
  LLVMFuzzerInitialize(&count, &arguments);
  for (int i = 1; i < count; ++i) {
    if (!std::filesystem::is_directory(arguments[i])) {
      run(arguments[i]);
      continue;
    }
    for (const auto& entry : std::filesystem::directory_iterator(arguments[i])) {
      run(entry.path());
    }
  }
  return inputs > 0 ? 0 : 1;
}
