// The vendor configuration file "OEM.ini" of the installation. The program itself uses none of its
// keys: vendors who build on these sources find them read.
#pragma once

#include "config/paths.h"

#include <cstddef>
#include <cstdint>

constexpr size_t OEM_VENDOR_SIZE = 32;
constexpr size_t OEM_URL_SIZE = 256;
constexpr size_t OEM_MODEL_SIZE = 16;
constexpr int OEM_MAX_MODELS = 32;
constexpr int OEM_MAX_PLUGINS = 5;

/// What the process knows of its installation; zero until `read_oem_config`.
struct oem_config {
    char program_dir[PATH_SIZE]; ///< folder of the running program
    char base_dir[PATH_SIZE];    ///< the folder above it
    char share_dir[PATH_SIZE];   ///< `base_dir` and "/share"
    char vendor_name[OEM_VENDOR_SIZE];
    char vendor_lower[OEM_VENDOR_SIZE];
    char vendor_upper[OEM_VENDOR_SIZE];
    char url[OEM_URL_SIZE];
    char models[OEM_MAX_MODELS][OEM_MODEL_SIZE];
    int32_t model_count;
    char plugins[OEM_MAX_PLUGINS][PATH_SIZE];
    int32_t plugin_count;
    int32_t multivendor;
    int32_t parport;
    int32_t portplugin;
    int32_t scanner;
    int32_t update_printer_group;
};

static_assert(sizeof oem_config::program_dir == 4096 && sizeof oem_config::plugins == 20480 &&
              sizeof oem_config::url == 256 && sizeof oem_config::models == 512);

extern oem_config actx;

/// Fills `actx` for the program started as `program` (argument 0): the three folders, and the
/// keys of the first "OEM.ini" that opens in the share folder, the base folder or the working
/// directory. Returns 0 when a file was read, -1 when there is none: then `actx` holds the
/// folders and nothing else.
int read_oem_config(const char *program);
