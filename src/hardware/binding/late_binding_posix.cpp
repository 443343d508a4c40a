#include "hardware/binding/late_binding.h"

#include "hardware/binding/library_check.h"
#include "platform/diagnostics.h"
#include "platform/environment.h"

#include <atomic>
#include <cstdint>
#include <stdexcept>
#include <string>

#include <dlfcn.h>

#ifndef __x86_64__
#error                                                                                             \
    "The thunks for the recorder library's functions have to be written for this processor first."
#endif

namespace {

constexpr const char *kNames[] = {
#define LATE_FUNCTION(index, name) #name,
#include "quillon_functions.inc"
#undef LATE_FUNCTION
};

/// A library that is there and can't be loaded is reported; one that is absent isn't.
void *openLibrary(const std::string &path)
{
    void *const library = dlopen(path.c_str(), RTLD_NOW | RTLD_LOCAL);
    if (library)
        return library;
    const std::string error = dlerror();
    if (!error.starts_with(path + ": cannot open"))
        tavu::printLine(stderr, "%s\n", error.c_str());
    return nullptr;
}

/// Opens the library in its install folder, or where the system looks for libraries. Never closed:
/// its objects live as long as we do.
void *findLibrary()
{
    void *library = nullptr;
    if (const auto folder = tavu::environmentVariable("QUILLON_PATH_X64"))
        library = openLibrary(*folder + "/Bin/libquillon.so");
    if (!library)
        library = openLibrary("libquillon.so");
    if (library && tavu::isUsableLibrary("libquillon.so", [library](const char *function) {
            return dlsym(library, function);
        }))
        return library;
    return nullptr;
}

} // namespace

extern "C" {

// Only the thunks use these two.
extern std::atomic<void *> tavuLateFunctions[];
void *tavuBindFunction(uint32_t index);

/// The address of each function, null until its first call.
std::atomic<void *> tavuLateFunctions[std::size(kNames)];

/// Finds the function for a thunk that is called for the first time.
void *tavuBindFunction(uint32_t index)
{
    static void *const library = findLibrary();
    void *const function = library ? dlsym(library, kNames[index]) : nullptr;
    if (!function)
        throw std::runtime_error(tavu::kLateBindingFailure);
    tavuLateFunctions[index] = function;
    return function;
}
}

// A thunk bears the name of its function and jumps to it; before the first call it goes through
// tavuBind, which saves whatever can hold an argument (System V ABI for x86-64). An exception of
// tavuBindFunction passes through to the caller, as the frame is described to the unwinder.

asm(R"(
    .text
    .type tavuBind, @function
tavuBind:
    .cfi_startproc
    pushq %rbp
    .cfi_def_cfa_offset 16
    .cfi_offset %rbp, -16
    movq %rsp, %rbp
    .cfi_def_cfa_register %rbp
    pushq %rdi
    pushq %rsi
    pushq %rdx
    pushq %rcx
    pushq %r8
    pushq %r9
    pushq %rax
    pushq %r11
    subq $128, %rsp
    movups %xmm0, (%rsp)
    movups %xmm1, 16(%rsp)
    movups %xmm2, 32(%rsp)
    movups %xmm3, 48(%rsp)
    movups %xmm4, 64(%rsp)
    movups %xmm5, 80(%rsp)
    movups %xmm6, 96(%rsp)
    movups %xmm7, 112(%rsp)
    movl %r11d, %edi
    call tavuBindFunction
    movq %rax, %r11
    movups (%rsp), %xmm0
    movups 16(%rsp), %xmm1
    movups 32(%rsp), %xmm2
    movups 48(%rsp), %xmm3
    movups 64(%rsp), %xmm4
    movups 80(%rsp), %xmm5
    movups 96(%rsp), %xmm6
    movups 112(%rsp), %xmm7
    addq $136, %rsp
    popq %rax
    popq %r9
    popq %r8
    popq %rcx
    popq %rdx
    popq %rsi
    popq %rdi
    popq %rbp
    .cfi_def_cfa %rsp, 8
    jmp *%r11
    .cfi_endproc
    .size tavuBind, . - tavuBind
)");

#define LATE_FUNCTION(index, name)                                                                 \
    asm(".globl " #name "\n"                                                                       \
        ".type " #name ", @function\n" #name ":\n"                                                 \
        ".cfi_startproc\n"                                                                         \
        "endbr64\n"                                                                                \
        "movq tavuLateFunctions+8*" #index "(%rip), %r11\n"                                        \
        "testq %r11, %r11\n"                                                                       \
        "je 1f\n"                                                                                  \
        "jmp *%r11\n"                                                                              \
        "1: movl $" #index ", %r11d\n"                                                             \
        "jmp tavuBind\n"                                                                           \
        ".cfi_endproc\n"                                                                           \
        ".size " #name ", . - " #name "\n");
#include "quillon_functions.inc"
#undef LATE_FUNCTION
