// The parent's children: what is known of each, and the command lines that start them.
#include "driver/child_process.h"

#include "config/community.h"
#include "config/text.h"
#include "driver/slots.h"
#include "log/log.h"

#include <cstring>
#include <string>

namespace
{

constexpr size_t COMMAND_SIZE = 4096;
constexpr char SAFE_CHARACTERS[] = "abcdefghijklmnopqrstuvwxyzABCDEFGHIJKLMNOPQRSTUVWXYZ0123456789"
                                   "_./:@%+=,-";

std::string quoted(const char *text)
{
    std::string word = "'";
    for (const char *c = text; *c != '\0'; ++c) {
        if (*c == '\'')
            word += "'\\''";
        else
            word += *c;
    }
    return word + "'";
}

/// One word of a shell command that reaches the child as `text`, whatever it holds.
std::string shell_word(const char *text)
{
    const size_t length = strlen(text);
    const bool safe = length > 0 && strspn(text, SAFE_CHARACTERS) == length;
    return safe ? text : quoted(text);
}

/// The first word of a command. The shell would take "-x" for its own option and "a=b/c" for an
/// assignment, so such a path is quoted too.
std::string program_word(const char *program)
{
    const bool like_option = program[0] == '-' || program[0] == '+';
    const bool like_assignment = program[strcspn(program, "=/")] == '=';
    return like_option || like_assignment ? quoted(program) : shell_word(program);
}

/// Starts the command with its output in the slot. Cut, a command would lose options and start a
/// process of another kind, so one that is too long is not started.
void start_child(child_slot *slot, const std::string &command)
{
    if (command.size() >= COMMAND_SIZE)
        return;
    slot->stream = popen(command.c_str(), "re");
    slot->pending_length = 0;
    slot->at_end = 0;
    slot->error_number = 0;
}

child_slot *free_desc_slot(child_slot *slots, bool quick)
{
    for (int i = 0; i < CHILD_SLOT_COUNT; ++i) {
        if (is_desc_slot(i, quick) && slots[i].stream == nullptr)
            return &slots[i];
    }
    return nullptr;
}

} // namespace

void run_child_process(child_slot *slots, int slot, const char *program, const char *method)
{
    log_printf(LOG_LEVEL_TRACE, "TRACE: run_child_process <%s>\n", method);
    std::string command = program_word(program);
    if (strcmp(g_community_name, DEFAULT_COMMUNITY) != 0)
        command += " -c " + shell_word(g_community_name);
    command += std::string(" -s --") + method;
    log_printf(LOG_LEVEL_TRACE, "TRACE: run: <%.*s>\n", static_cast<int>(COMMAND_SIZE - 1),
               command.c_str());
    start_child(&slots[slot], command);
}

void start_desc_children(desc_queue *queue, child_slot *slots, const char *program, bool quick)
{
    for (list_node *node = *queue; node != nullptr; node = node->next) {
        auto *request = static_cast<desc_request *>(node->data);
        if (request->started != 0)
            continue;
        child_slot *slot = free_desc_slot(slots, quick);
        if (slot == nullptr)
            return;
        const char *option = " -I ";
        if (request->describe != 0)
            option = quick ? " --quick -R " : " -R ";
        start_child(slot, program_word(program) + option + shell_word(request->ip));
        safe_strncpy(slot->target_ip, request->ip, sizeof slot->target_ip);
        request->started = 1;
    }
}

void close_child_slot(child_slot *slot)
{
    pclose(slot->stream);
    slot->stream = nullptr;
    slot->hex_lines = 0;
    slot->target_ip[0] = '\0';
}
