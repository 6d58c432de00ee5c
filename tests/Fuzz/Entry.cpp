// What libFuzzer calls, once per program.

#include "Targets.h"

#include <QtCore/QCoreApplication>

#include <cstddef>
#include <cstdint>

extern "C" int LLVMFuzzerInitialize(int* argc, char*** argv);
extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* bytes, std::size_t size);

extern "C" int LLVMFuzzerInitialize(int* argc, char*** argv) {
    static const QCoreApplication application(*argc, *argv);
    return 0;
}

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* bytes, std::size_t size) {
    (void)VLR_FUZZ_TARGET(QByteArray(reinterpret_cast<const char*>(bytes), static_cast<int>(size)));
    return 0;
}
