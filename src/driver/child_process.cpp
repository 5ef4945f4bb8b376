// The parent's children: the command lines that start them, and their end.
#include "driver/child_process.h"

#include "config/text.h"
#include "config/thorough.h"
#include "driver/options.h"
#include "io/process.h"
#include "log/log.h"

#include <algorithm>
#include <cerrno>
#include <cstring>

namespace
{

constexpr size_t COMMAND_SIZE = 4096;
constexpr size_t BATCH_COMMAND_SIZE =
    32768; ///< some 2000 addresses; the system takes four times it
constexpr char SAFE_CHARACTERS[] = "abcdefghijklmnopqrstuvwxyzABCDEFGHIJKLMNOPQRSTUVWXYZ0123456789"
                                   "_./:@%+=,-";

/// A command line for the shell, put together word by word. What does not fit is left out.
struct shell_command {
    char text[BATCH_COMMAND_SIZE] = "";
    size_t length = 0; ///< of the whole command, which may be longer than `text`
};

void add_text(shell_command *command, const char *text)
{
    for (; *text != '\0'; ++text, ++command->length) {
        if (command->length + 1 < sizeof command->text)
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

/// Adds a further word, or nothing where it would not fit. Returns whether it does.
bool add_word_that_fits(shell_command *command, const char *word)
{
    const size_t length = command->length;
    add_text(command, " ");
    add_word(command, word);
    if (command->length < sizeof command->text)
        return true;
    memset(command->text + length, 0, sizeof command->text - length);
    command->length = length;
    return false;
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

/// Starts the command with its output in the slot. Cut, a command would lose options and start a
/// process of another kind, so one of `size` characters or more is not started. Returns whether it
/// was (`errno`).
bool start_child(child_slot *slot, const shell_command &command, size_t size)
{
    errno = E2BIG;
    if (command.length < size)
        slot->stream = open_command(command.text, &slot->pid);
    slot->pending_length = 0;
    slot->at_end = 0;
    slot->error_number = 0;
    return slot->stream != nullptr;
}

void note_missing_child(parent_run *run, int slot, int devices)
{
    add_failure(&run->failures, slot, devices, strerror(errno));
}

} // namespace

void run_child_process(parent_run *run, const method &started)
{
    log_printf(LOG_LEVEL_TRACE, "TRACE: run_child_process <%s>\n", started.word);
    shell_command command = child_command(run->settings, run_kind::child);
    add_text(&command, "--");
    add_text(&command, started.word);
    log_printf(LOG_LEVEL_TRACE, "TRACE: run: <%s>\n", command.text);
    if (!start_child(&run->slots[started.slot], command, COMMAND_SIZE))
        note_missing_child(run, started.slot, 0);
}

int free_desc_slot(const parent_run &run)
{
    for (int i = 0; i < CHILD_SLOT_COUNT; ++i) {
        if (is_desc_slot(i, run.settings.quick || g_thorough) && run.slots[i].stream == nullptr)
            return i;
    }
    return -1;
}

void start_desc_children(parent_run *run)
{
    for (list_node *node = queued_behind(*run, run->last_started); node != nullptr;
         node = node->next) {
        auto *request = static_cast<desc_request *>(node->data);
        const int free_slot = free_desc_slot(*run);
        if (free_slot < 0)
            return;
        child_slot *slot = &run->slots[free_slot];
        shell_command command =
            child_command(run->settings, request->describe != 0 ? run_kind::get_description
                                                                : run_kind::scanner_inquiry);
        add_word(&command, request->ip);
        if (!start_child(slot, command, COMMAND_SIZE))
            note_missing_child(run, free_slot, 1);
        safe_strncpy(slot->target_ip, request->ip, sizeof slot->target_ip);
        slot->addresses_left = 1;
        request->started = 1;
        run->last_started = node;
    }
}

bool start_batch_child(parent_run *run, int number, bool settle)
{
    shell_command command = child_command(run->settings, run_kind::get_description);
    list_node *last = run->quick.last_batched;
    const char *first = nullptr;
    int32_t count = 0;
    while (last != run->last_started) {
        list_node *node = queued_behind(*run, last);
        const auto *request = static_cast<const desc_request *>(node->data);
        if (request->started == 0) {
            if (count > 0 && !add_word_that_fits(&command, request->ip))
                break;
            if (count++ == 0)
                add_word(&command, first = request->ip);
        }
        last = node;
    }
    child_slot *slot = &run->slots[number];
    if (!start_child(slot, command, sizeof command.text)) {
        if (!settle)
            return false;
        note_missing_child(run, number, count);
    }
    while (run->quick.last_batched != last) {
        run->quick.last_batched = queued_behind(*run, run->quick.last_batched);
        static_cast<desc_request *>(run->quick.last_batched->data)->started = 1;
    }
    run->quick.to_batch -= static_cast<size_t>(count);
    safe_strncpy(slot->target_ip, first, sizeof slot->target_ip);
    slot->addresses_left = count;
    return true;
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
    // An error of a child for many is that of one device, unless it has died of it.
    const int left = ended_by_signal(wait_status) ? slot->addresses_left : 1;
    add_failure(&run->failures, number, std::min(left, slot->addresses_left), slot->failure);
    slot->hex_lines = 0;
    slot->target_ip[0] = '\0';
    slot->failure[0] = '\0';
    slot->addresses_left = 0;
}

void kill_children(const parent_run *run)
{
    for (const child_slot &slot : run->slots) {
        if (slot.pid > 0)
            kill_process_tree(slot.pid);
    }
}
