// Fuzzes the reader of a log's configuration, and writes a record into the log that it opens.
#include "log/log.h"

#include <cstdint>
#include <cstdlib>
#include <cstring>
#include <fstream>
#include <sstream>
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
    const std::string allowed = name + ":-/.0123456789";
    if (log_stream == nullptr || path.rfind("/tmp/" + name, 0) != 0 ||
        path.rfind('/') != strlen("/tmp") || path.substr(path.size() - 4) != ".log" ||
        path.find_first_not_of("/tmp.log" + allowed) != std::string::npos)
        abort();

    const int written = log_printf(LOG_LEVEL_INFO, "INFO: %s\n", "record");
    std::ostringstream content;
    if (log_flush_mode != 0)
        content << std::ifstream(path).rdbuf();
    log_close();
    unlink(path.c_str());
    if (log_flush_mode != 0 && content.str() != (written != 0 ? "INFO: record\n" : ""))
        abort();
    return 0;
}
