// Preloaded before the C library, this makes one of the calls that change files fail: the N-th from
// the moment it was armed. It must not be built with a sanitizer.

#include <atomic>
#include <cerrno>
#include <csignal>
#include <cstdio>
#include <dlfcn.h>
#include <sys/stat.h>
#include <sys/types.h>
#include <sys/uio.h>
#include <unistd.h>

namespace {

std::atomic<long> calls{0};
std::atomic<long> failing{0}; // the number of the call; 0 while nothing is to fail
int errorNumber = 0;
bool isLasting = false;
char failed[64];

bool isFolder(int descriptor) {
    struct stat status {};
    return fstat(descriptor, &status) == 0 && S_ISDIR(status.st_mode);
}

// Whether this call is to fail. An error number of 0 stands for the end of the process.
bool fails(const char* name, int descriptor) {
    const long number = failing;
    if (number == 0 || (descriptor >= 0 && descriptor <= STDERR_FILENO))
        return false;
    const long call = ++calls;
    if (call != number && !(isLasting && call > number))
        return false;
    if (errorNumber == 0)
        std::raise(SIGKILL);
    if (call == number)
        std::snprintf(failed, sizeof failed, "%s%s", name,
                      isFolder(descriptor) ? " of a folder" : "");
    errno = errorNumber;
    return true;
}

// What a call answers that fails.
template <class Result>
constexpr Result failure = -1;
template <>
constexpr char* failure<char*> = nullptr;

} // namespace

extern "C" {

void vlrShimArm(long number, int error, int lasting) {
    calls = 0;
    failed[0] = 0;
    errorNumber = error;
    isLasting = lasting != 0;
    failing = number;
}

// The call that failed, or an empty text.
const char* vlrShimDisarm() {
    failing = 0;
    return failed;
}
}

// The names are given to the assembler, since the C library declares these functions with all kinds
// of attributes. A function with an optional last argument takes it in any case, and passes it on.
#define VLR_SHIM(type, name, parameters, arguments, descriptor)                                    \
    extern "C" type shim_##name parameters __asm__(#name);                                         \
    type shim_##name parameters {                                                                  \
        using Function = type(*) parameters;                                                       \
        static const auto next = reinterpret_cast<Function>(dlsym(RTLD_NEXT, #name));              \
        return fails(#name, descriptor) ? failure<type> : next arguments;                          \
    }

// What Qt, SQLite and this library import; but SQLite takes every failure of its locks, which are
// made by fcntl64(), for somebody else's lock and waits.
VLR_SHIM(ssize_t, write, (int file, const void* bytes, size_t size), (file, bytes, size), file)
VLR_SHIM(ssize_t, pwrite64, (int file, const void* bytes, size_t size, off_t at),
         (file, bytes, size, at), file)
VLR_SHIM(ssize_t, writev, (int file, const iovec* parts, int count), (file, parts, count), file)
VLR_SHIM(ssize_t, read, (int file, void* bytes, size_t size), (file, bytes, size), file)
VLR_SHIM(ssize_t, pread64, (int file, void* bytes, size_t size, off_t at), (file, bytes, size, at),
         file)
VLR_SHIM(int, fsync, (int file), (file), file)
VLR_SHIM(int, fdatasync, (int file), (file), file)
VLR_SHIM(int, ftruncate, (int file, off_t size), (file, size), file)
VLR_SHIM(int, ftruncate64, (int file, off_t size), (file, size), file)
VLR_SHIM(int, fchmod, (int file, mode_t mode), (file, mode), file)
VLR_SHIM(int, flock, (int file, int operation), (file, operation), file)
VLR_SHIM(int, fcntl, (int file, int command, long argument), (file, command, argument), file)
VLR_SHIM(int, open, (const char* path, int flags, mode_t mode), (path, flags, mode), -1)
VLR_SHIM(int, open64, (const char* path, int flags, mode_t mode), (path, flags, mode), -1)
VLR_SHIM(int, mkostemp, (char* pattern, int flags), (pattern, flags), -1)
VLR_SHIM(char*, mkdtemp, (char* pattern), (pattern), -1)
VLR_SHIM(int, mkdir, (const char* path, mode_t mode), (path, mode), -1)
VLR_SHIM(int, unlink, (const char* path), (path), -1)
VLR_SHIM(int, rmdir, (const char* path), (path), -1)
VLR_SHIM(int, link, (const char* from, const char* to), (from, to), -1)
VLR_SHIM(int, linkat, (int from, const char* path, int to, const char* target, int flags),
         (from, path, to, target, flags), -1)
VLR_SHIM(int, rename, (const char* from, const char* to), (from, to), -1)
VLR_SHIM(int, renameat2, (int from, const char* path, int to, const char* target, unsigned flags),
         (from, path, to, target, flags), -1)
