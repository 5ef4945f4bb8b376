// Fuzzes the reader of a log's configuration, and writes a record into the log that it opens.
#include "log/log.h"

#include <cstdint>
#include <cstdlib>
#include <fstream>
#include <string>
#include <unistd.h>

extern "C" int LLVMFuzzerTestOneInput(const uint8_t *data, size_t size)
{
    const std::string name = "log_config_fuzz" + std::to_string(getpid());
    const std::string config = "/tmp/" + name + ".lcf";
    std::ofstream(config, std::ios::binary)
        .write(reinterpret_cast<const char *>(data), static_cast<std::streamsize>(size));
    log_open(name.c_str());
    unlink(config.c_str());
    const std::string path = log_path;
    if (log_stream == nullptr || path.rfind("/tmp/" + name, 0) != 0 ||
        path.find_first_not_of("0123456789-:", ("/tmp/" + name).size()) != path.size() - 4 ||
        path.substr(path.size() - 4) != ".log")
        abort();

    log_flush_mode = 1;
    const int written = log_printf(LOG_LEVEL_INFO, "INFO: %s\n", "record");
    std::string record;
    std::getline(std::ifstream(path), record);
    log_close();
    unlink(path.c_str());
    if (record != (written != 0 ? "INFO: record" : ""))
        abort();
    return 0;
}
