// Paths: the program's own, and joining a folder with a name.
#pragma once

#include <cstddef>

constexpr size_t PATH_SIZE = 4096; ///< a path of at most 4095 characters

/// Writes the absolute form of `path` to `destination`, cut to `size` - 1 characters: a path that
/// begins with "/" as it is, any other behind the working directory, without one leading "./".
/// Where the working directory cannot be had, the path as given; without a path, an empty text.
/// Returns `destination`.
char *make_abs_path(const char *path, char *destination, size_t size);

/// `make_abs_path` into a shared buffer of PATH_SIZE bytes, overwritten by the next call.
char *program_path(const char *path);

/// Writes `directory`, one "/" and `name` to `destination`, cut to `size` - 1 characters.
/// Returns `destination`.
char *path_join(const char *directory, const char *name, char *destination, size_t size);

/// `path_join` into a shared buffer of PATH_SIZE bytes, overwritten by the next call.
char *path_join_static(const char *directory, const char *name);

/// Cuts `path` before its last "/"; a path without one stays whole.
void cut_last_component(char *path);
