#pragma once

// One fuzz target is one function of the bytes it is given. Built with libFuzzer (the `fuzz`
// preset) it becomes that program's entry point; in the normal build every target registers
// under its name with the replay driver, so the regression inputs run with the test suite on
// any compiler.

#include <QByteArray>

#include <cstddef>
#include <cstdint>

namespace tessary::fuzz {

using Target = void (*)(const QByteArray& input);

// Registers a target with the replay driver; returns true so it can seed a static.
bool registerTarget(const char* name, Target target);

// A failed check inside a target: an abort, which libFuzzer and the replay driver both report
// with the input that caused it.
[[noreturn]] void fail(const char* what, const QByteArray& detail = {});

} // namespace tessary::fuzz

#ifdef TESSARY_LIBFUZZER
#define TESSARY_FUZZ_TARGET(name)                                                                                      \
    static void fuzz_##name(const QByteArray& input);                                                                  \
    extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size)                                  \
    {                                                                                                                  \
        fuzz_##name(QByteArray(reinterpret_cast<const char*>(data), static_cast<qsizetype>(size)));                    \
        return 0;                                                                                                      \
    }                                                                                                                  \
    static void fuzz_##name(const QByteArray& input)
#else
#define TESSARY_FUZZ_TARGET(name)                                                                                      \
    static void fuzz_##name(const QByteArray& input);                                                                  \
    [[maybe_unused]] static const bool registered_##name = tessary::fuzz::registerTarget(#name, &fuzz_##name);         \
    static void fuzz_##name(const QByteArray& input)
#endif
