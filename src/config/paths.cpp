// Paths: the program's own, and joining a folder with a name.
#include "config/paths.h"

#include "config/text.h"

#include <cstring>
#include <unistd.h>

namespace
{

void append_slash(char *destination, size_t size)
{
    const size_t length = strlen(destination);
    if (length == 0 || destination[length - 1] != '/')
        append_text(destination, "/", size);
}

} // namespace

char *make_abs_path(const char *path, char *destination, size_t size)
{
    if (size == 0)
        return destination;
    if (path == nullptr || path[0] == '/') {
        safe_strncpy(destination, path == nullptr ? "" : path, size);
        return destination;
    }
    if (getcwd(destination, size) == nullptr) {
        safe_strncpy(destination, path, size);
        return destination;
    }
    append_slash(destination, size);
    const bool has_dot_slash = begins_with(path, "./");
    append_text(destination, has_dot_slash ? path + 2 : path, size);
    return destination;
}

char *program_path(const char *path)
{
    static char absolute[PATH_SIZE];
    return make_abs_path(path, absolute, sizeof absolute);
}

char *path_join(const char *directory, const char *name, char *destination, size_t size)
{
    if (size == 0)
        return destination;
    safe_strncpy(destination, directory, size);
    append_slash(destination, size);
    append_text(destination, name, size);
    return destination;
}

char *path_join_static(const char *directory, const char *name)
{
    static char joined[PATH_SIZE];
    return path_join(directory, name, joined, sizeof joined);
}

void cut_last_component(char *path)
{
    char *slash = strrchr(path, '/');
    if (slash != nullptr)
        *slash = '\0';
}
