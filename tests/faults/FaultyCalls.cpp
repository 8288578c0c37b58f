// Preloaded into a program: one call to the system does not succeed, or a signal arrives at it. By the environment:
//   CORRIDOR_FAULT_CALL   open, write, fsync, rename, mmap or malloc; send or recv on a socket
//   CORRIDOR_FAULT_AT     which of them, from 1; 0 for none
//   CORRIDOR_FAULT_LASTS  1 when all behind it do not succeed, too
//   CORRIDOR_FAULT_ERROR  the error number, or minus a signal, which is sent before the call goes on as usual
//   CORRIDOR_FAULT_UNDER  calls on files count only below this folder
//   CORRIDOR_FAULT_COUNT  a file for the number of calls that counted

#include <atomic>
#include <cerrno>
#include <climits>
#include <csignal>
#include <cstdarg>
#include <cstdio>
#include <cstdlib>
#include <cstring>

#include <dlfcn.h>
#include <fcntl.h>
#include <sys/mman.h>
#include <sys/socket.h>
#include <sys/uio.h>
#include <unistd.h>

namespace {

const char* setting(const char* name) {
    const char* value = getenv(name);
    return value ? value : "";
}

/// Plain values, because allocations come before anything is constructed.
struct Plan {
    const char* call;
    const char* under;
    long at;
    bool lasts;
    int error;
};

const Plan& plan() {
    static const Plan read{setting("CORRIDOR_FAULT_CALL"), setting("CORRIDOR_FAULT_UNDER"),
                           strtol(setting("CORRIDOR_FAULT_AT"), nullptr, 10),
                           strcmp(setting("CORRIDOR_FAULT_LASTS"), "1") == 0,
                           static_cast<int>(strtol(setting("CORRIDOR_FAULT_ERROR"), nullptr, 10))};
    return read;
}

std::atomic<long> calls{0};
std::atomic<bool> isReady{false}; ///< main has begun

template<class Function>
Function next(const char* name) {
    return reinterpret_cast<Function>(dlsym(RTLD_NEXT, name));
}

/// Whether this call fails now.
bool fails(const char* call) {
    if (!isReady || strcmp(plan().call, call) != 0) {
        return false;
    }
    const long number = ++calls;
    if (plan().lasts ? number < plan().at : number != plan().at) {
        return false;
    }
    if (plan().error < 0) {
        kill(getpid(), -plan().error);
        return false;
    }
    errno = plan().error;
    return true;
}

bool isUnder(const char* path) {
    return path && strncmp(path, plan().under, strlen(plan().under)) == 0;
}

bool isUnder(int descriptor) {
    char link[40];
    char path[PATH_MAX];
    snprintf(link, sizeof link, "/proc/self/fd/%d", descriptor);
    const ssize_t length = readlink(link, path, sizeof path - 1);
    path[length > 0 ? length : 0] = '\0';
    return isUnder(path);
}

bool is(const char* call) {
    return isReady && strcmp(plan().call, call) == 0;
}

int (*programsMain)(int, char**, char**) = nullptr;

/// What happens before, the program has no part in.
int mainWithFaults(int count, char** arguments, char** environment) {
    plan();
    isReady = true;
    return programsMain(count, arguments, environment);
}

__attribute__((destructor)) void tell() {
    isReady = false;
    const char* file = setting("CORRIDOR_FAULT_COUNT");
    if (FILE* out = *file ? fopen(file, "w") : nullptr) {
        fprintf(out, "%ld\n", calls.load());
        fclose(out);
    }
}

int openNext(const char* name, const char* path, int flags, mode_t mode) {
    if (is("open") && isUnder(path) && fails("open")) {
        return -1;
    }
    return next<int (*)(const char*, int, ...)>(name)(path, flags, mode);
}

template<class Offset>
ssize_t pwriteNext(const char* name, int file, const void* bytes, size_t count, Offset offset) {
    if (is("write") && isUnder(file) && fails("write")) {
        return -1;
    }
    return next<ssize_t (*)(int, const void*, size_t, Offset)>(name)(file, bytes, count, offset);
}

void* mmapNext(const char* name, void* address, size_t length, int protection, int flags, int file,
               off64_t offset) {
    if (is("mmap") && fails("mmap")) {
        return MAP_FAILED;
    }
    return next<void* (*)(void*, size_t, int, int, int, off64_t)>(name)(address, length, protection, flags,
                                                                        file, offset);
}

int syncNext(const char* name, int file) {
    if (is("fsync") && isUnder(file) && fails("fsync")) {
        return -1;
    }
    return next<int (*)(int)>(name)(file);
}

mode_t modeOf(int flags, va_list arguments) {
    return flags & (O_CREAT | O_TMPFILE) ? va_arg(arguments, mode_t) : 0;
}

} // namespace

extern "C" {

void* __libc_malloc(size_t size);
void* __libc_calloc(size_t count, size_t size);
void* __libc_realloc(void* memory, size_t size);

int __libc_start_main(int (*main)(int, char**, char**), int count, char** arguments, void (*init)(),
                      void (*fini)(), void (*end)(), void* stack) {
    programsMain = main;
    using Start =
        int (*)(int (*)(int, char**, char**), int, char**, void (*)(), void (*)(), void (*)(), void*);
    return next<Start>("__libc_start_main")(mainWithFaults, count, arguments, init, fini, end, stack);
}

int open(const char* path, int flags, ...) {
    va_list arguments;
    va_start(arguments, flags);
    const mode_t mode = modeOf(flags, arguments);
    va_end(arguments);
    return openNext("open", path, flags, mode);
}

int open64(const char* path, int flags, ...) {
    va_list arguments;
    va_start(arguments, flags);
    const mode_t mode = modeOf(flags, arguments);
    va_end(arguments);
    return openNext("open64", path, flags, mode);
}

FILE* fopen64(const char* path, const char* mode) {
    return is("open") && isUnder(path) && fails("open")
               ? nullptr
               : next<FILE* (*)(const char*, const char*)>("fopen64")(path, mode);
}

ssize_t write(int file, const void* bytes, size_t count) {
    if (is("write") && isUnder(file) && fails("write")) {
        return -1;
    }
    return next<ssize_t (*)(int, const void*, size_t)>("write")(file, bytes, count);
}

ssize_t writev(int file, const iovec* parts, int count) {
    if (is("write") && isUnder(file) && fails("write")) {
        return -1;
    }
    return next<ssize_t (*)(int, const iovec*, int)>("writev")(file, parts, count);
}

ssize_t pwrite(int file, const void* bytes, size_t count, off_t offset) {
    return pwriteNext("pwrite", file, bytes, count, offset);
}

ssize_t pwrite64(int file, const void* bytes, size_t count, off64_t offset) {
    return pwriteNext("pwrite64", file, bytes, count, offset);
}

int fsync(int file) {
    return syncNext("fsync", file);
}

int fdatasync(int file) {
    return syncNext("fdatasync", file);
}

ssize_t send(int socket, const void* bytes, size_t count, int flags) {
    return is("send") && fails("send")
               ? -1
               : next<ssize_t (*)(int, const void*, size_t, int)>("send")(socket, bytes, count, flags);
}

ssize_t recv(int socket, void* bytes, size_t count, int flags) {
    return is("recv") && fails("recv")
               ? -1
               : next<ssize_t (*)(int, void*, size_t, int)>("recv")(socket, bytes, count, flags);
}

int rename(const char* from, const char* to) noexcept {
    if (is("rename") && isUnder(to) && fails("rename")) {
        return -1;
    }
    return next<int (*)(const char*, const char*)>("rename")(from, to);
}

void* mmap(void* address, size_t length, int protection, int flags, int file, off_t offset) noexcept {
    return mmapNext("mmap", address, length, protection, flags, file, offset);
}

void* mmap64(void* address, size_t length, int protection, int flags, int file, off64_t offset) noexcept {
    return mmapNext("mmap64", address, length, protection, flags, file, offset);
}

void* malloc(size_t size) noexcept {
    return is("malloc") && fails("malloc") ? nullptr : __libc_malloc(size);
}

void* calloc(size_t count, size_t size) noexcept {
    return is("malloc") && fails("malloc") ? nullptr : __libc_calloc(count, size);
}

void* realloc(void* memory, size_t size) noexcept {
    return is("malloc") && fails("malloc") ? nullptr : __libc_realloc(memory, size);
}
}
