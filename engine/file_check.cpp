#include "engine/file_check.h"

#include <filesystem>
#include <fstream>

namespace fs = std::filesystem;

bool IsRegularFile(const std::string& path) {
    std::error_code error;
    return fs::is_regular_file(fs::status(path, error));
}

bool ExistsButUnreadable(const std::string& path) {
    std::error_code error;
    const fs::file_status status = fs::status(path, error);
    if (status.type() == fs::file_type::not_found) {
        return false;
    }
    if (!fs::is_regular_file(status)) {
        return true;
    }
    return !std::ifstream(path).is_open();
}
