// Executes a command to which the kernel refuses some system calls, as sandboxes and restricted
// services do: refuse WHAT[,WHAT...] COMMAND [ARG...]
#include <algorithm>
#include <cerrno>
#include <cstddef>
#include <cstdint>
#include <cstdio>
#include <cstring>
#include <iterator>
#include <linux/filter.h>
#include <linux/seccomp.h>
#include <string_view>
#include <sys/ioctl.h>
#include <sys/prctl.h>
#include <sys/socket.h>
#include <sys/syscall.h>
#include <unistd.h>

constexpr int BAD_USE = 78;
constexpr int NOT_FOUND = 127;

struct refusal {
    std::string_view word;
    uint32_t call;
    unsigned argument; // the number of the argument that decides, and its value
    uint32_t value;
    uint32_t error;
};

constexpr refusal REFUSALS[] = {
    {"netlink", SYS_socket, 0, AF_NETLINK, EAFNOSUPPORT},
    {"ipv6", SYS_socket, 0, AF_INET6, EAFNOSUPPORT},
    {"ifconf", SYS_ioctl, 1, SIOCGIFCONF, EPERM},
};

// The low half of an argument, where the value of an int stands.
static uint32_t argument_offset(unsigned number)
{
    constexpr bool LITTLE_END_FIRST = __BYTE_ORDER__ == __ORDER_LITTLE_ENDIAN__;
    return static_cast<uint32_t>(offsetof(seccomp_data, args) + number * sizeof(uint64_t) +
                                 (LITTLE_END_FIRST ? 0 : sizeof(uint32_t)));
}

static int refuse(const refusal &what)
{
    sock_filter program[] = {
        BPF_STMT(BPF_LD | BPF_W | BPF_ABS, offsetof(seccomp_data, nr)),
        BPF_JUMP(BPF_JMP | BPF_JEQ | BPF_K, what.call, 0, 3),
        BPF_STMT(BPF_LD | BPF_W | BPF_ABS, argument_offset(what.argument)),
        BPF_JUMP(BPF_JMP | BPF_JEQ | BPF_K, what.value, 0, 1),
        BPF_STMT(BPF_RET | BPF_K, SECCOMP_RET_ERRNO | what.error),
        BPF_STMT(BPF_RET | BPF_K, SECCOMP_RET_ALLOW),
    };
    const sock_fprog filter = {static_cast<unsigned short>(std::size(program)), program};
    return prctl(PR_SET_NO_NEW_PRIVS, 1, 0, 0, 0) == 0 &&
                   prctl(PR_SET_SECCOMP, SECCOMP_MODE_FILTER, &filter) == 0
               ? 0
               : -1;
}

static int refuse_word(std::string_view word)
{
    for (const refusal &what : REFUSALS) {
        if (what.word == word)
            return refuse(what);
    }
    errno = EINVAL;
    return -1;
}

int main(int argc, char **argv)
{
    if (argc < 3) {
        fputs("use: refuse WHAT[,WHAT...] COMMAND [ARG...]\n", stderr);
        return BAD_USE;
    }
    std::string_view words = argv[1];
    while (!words.empty()) {
        const std::string_view word = words.substr(0, words.find(','));
        if (refuse_word(word) != 0) {
            fprintf(stderr, "refuse: %s: %s\n", argv[1], strerror(errno));
            return BAD_USE;
        }
        words.remove_prefix(std::min(words.size(), word.size() + 1));
    }
    execvp(argv[2], argv + 2);
    fprintf(stderr, "refuse: %s: %s\n", argv[2], strerror(errno));
    return NOT_FOUND;
}
