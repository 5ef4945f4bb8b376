// The parent's children: the command lines that start them, and their end.
#include "driver/child_process.h"

#include "config/text.h"
#include "driver/options.h"
#include "io/process.h"
#include "log/log.h"

#include <cerrno>
#include <cstring>

namespace
{

constexpr size_t COMMAND_SIZE = 4096;
constexpr char SAFE_CHARACTERS[] = "abcdefghijklmnopqrstuvwxyzABCDEFGHIJKLMNOPQRSTUVWXYZ0123456789"
                                   "_./:@%+=,-";

/// A command line for the shell, put together word by word. What does not fit is left out.
struct shell_command {
    char text[COMMAND_SIZE] = "";
    size_t length = 0; ///< of the whole command, which may be longer than `text`
};

void add_text(shell_command *command, const char *text)
{
    for (; *text != '\0'; ++text, ++command->length) {
        if (command->length + 1 < COMMAND_SIZE)
            command->text[command->length] = *text;
    }
}

void add_quoted(shell_command *command, const char *word)
{
    add_text(command, "'");
    for (; *word != '\0'; ++word) {
        const char character[] = {*word, '\0'};
        add_text(command, *word == '\'' ? "'\\''" : character);
    }
    add_text(command, "'");
}

/// Adds a word that reaches the child as it is, whatever it holds.
void add_word(shell_command *command, const char *word)
{
    const size_t length = strlen(word);
    if (length > 0 && strspn(word, SAFE_CHARACTERS) == length)
        add_text(command, word);
    else
        add_quoted(command, word);
}

/// Adds the first word of a command. The shell would take "-x" for its own option and "a=b/c"
/// for an assignment, so such a path is quoted too.
void add_program(shell_command *command, const char *program)
{
    const bool like_option = program[0] == '-' || program[0] == '+';
    const bool like_assignment = program[strcspn(program, "=/")] == '=';
    if (like_option || like_assignment)
        add_quoted(command, program);
    else
        add_word(command, program);
}

/// The command line of a child of that kind, but for what it works on: argument 0 again, the
/// options that such children are given, and the one that makes it such a child.
shell_command child_command(const run_settings &settings, run_kind kind)
{
    shell_command command;
    add_program(&command, settings.program);
    for (const option &o : OPTIONS) {
        const char *value = o.for_child != nullptr ? o.for_child(kind, settings) : nullptr;
        if (value == nullptr)
            continue;
        add_text(&command, " ");
        add_text(&command, o.word);
        if (has_separate_value(o))
            add_text(&command, " ");
        if (has_value(o))
            add_word(&command, value);
    }
    const char *own = " -s ";
    if (kind != run_kind::child)
        own = kind == run_kind::get_description ? " -R " : " -I ";
    add_text(&command, own);
    return command;
}

/// Starts the command, for one device or a method, with its output in the slot. Cut, a command
/// would lose options and start a process of another kind, so one that is too long is not started.
void start_child(parent_run *run, child_slot *slot, const shell_command &command, bool for_device)
{
    errno = E2BIG;
    if (command.length < COMMAND_SIZE)
        slot->stream = open_command(command.text, &slot->pid);
    if (slot->stream == nullptr)
        add_failure(&run->failures, static_cast<int>(slot - run->slots), for_device,
                    strerror(errno));
    slot->pending_length = 0;
    slot->at_end = 0;
    slot->error_number = 0;
}

/// The queue's first entry that no child was started for; nullptr: none.
list_node *first_waiting(const parent_run *run)
{
    return run->last_started == nullptr ? run->queue : run->last_started->next;
}

child_slot *free_desc_slot(parent_run *run)
{
    for (int i = 0; i < CHILD_SLOT_COUNT; ++i) {
        if (is_desc_slot(i, run->settings.quick) && run->slots[i].stream == nullptr)
            return &run->slots[i];
    }
    return nullptr;
}

} // namespace

void run_child_process(parent_run *run, const method &started)
{
    log_printf(LOG_LEVEL_TRACE, "TRACE: run_child_process <%s>\n", started.word);
    shell_command command = child_command(run->settings, run_kind::child);
    add_text(&command, "--");
    add_text(&command, started.word);
    log_printf(LOG_LEVEL_TRACE, "TRACE: run: <%s>\n", command.text);
    start_child(run, &run->slots[started.slot], command, false);
}

void start_desc_children(parent_run *run)
{
    for (list_node *node = first_waiting(run); node != nullptr; node = node->next) {
        auto *request = static_cast<desc_request *>(node->data);
        child_slot *slot = free_desc_slot(run);
        if (slot == nullptr)
            return;
        shell_command command =
            child_command(run->settings, request->describe != 0 ? run_kind::get_description
                                                                : run_kind::scanner_inquiry);
        add_word(&command, request->ip);
        start_child(run, slot, command, true);
        safe_strncpy(slot->target_ip, request->ip, sizeof slot->target_ip);
        request->started = 1;
        run->last_started = node;
    }
}

bool can_start_desc_child(parent_run *run)
{
    return first_waiting(run) != nullptr && free_desc_slot(run) != nullptr;
}

int end_child(child_slot *slot)
{
    int wait_status = 0;
    if (close_command(slot->stream, slot->pid, &wait_status) == 0)
        slot->pid = 0;
    slot->stream = nullptr;
    return wait_status;
}

void empty_child_slot(parent_run *run, int number, int wait_status)
{
    child_slot *slot = &run->slots[number];
    note_failing_end(slot->failure, wait_status);
    add_failure(&run->failures, number, slot->target_ip[0] != '\0', slot->failure);
    slot->hex_lines = 0;
    slot->target_ip[0] = '\0';
    slot->failure[0] = '\0';
}

void kill_children(const parent_run *run)
{
    for (const child_slot &slot : run->slots) {
        if (slot.pid > 0)
            kill_process_tree(slot.pid);
    }
}
