// libFuzzer target: class definitions as XML.
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <string_view>

#include "fuzz/fuzz_checks.h"

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    std::string_view bytes(reinterpret_cast<const char*>(data), size);
    fuzzcheck::Outcome outcome = fuzzcheck::CheckClassXml(bytes);
    if (outcome.problem.empty()) return 0;
    // A broken promise is reported like a crash so that libFuzzer keeps the input.
    std::fprintf(stderr, "fuzz_class_xml: %s\n", outcome.problem.c_str());
    std::abort();
}
