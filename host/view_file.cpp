#include "host/view_file.h"

#include <dirent.h>
#include <spawn.h>
#include <sys/wait.h>
#include <unistd.h>

#include <climits>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <vector>

#include "resources/model_file.h"

extern char** environ;

namespace {

std::string g_tempDir;

std::string Canonical(const std::string& path) {
    char resolved[PATH_MAX];
    return realpath(path.c_str(), resolved) ? std::string(resolved) : std::string();
}

std::vector<std::string> Components(const std::string& path) {
    std::vector<std::string> parts;
    size_t start = 0;
    while (start <= path.size()) {
        size_t end = path.find('/', start);
        if (end == std::string::npos) {
            end = path.size();
        }
        if (end > start) {
            parts.push_back(path.substr(start, end - start));
        }
        start = end + 1;
    }
    return parts;
}

// The path from one absolute folder to an absolute file, through ".." where needed.
std::string RelativePath(const std::string& fromDir, const std::string& to) {
    const std::vector<std::string> from = Components(fromDir);
    const std::vector<std::string> target = Components(to);
    size_t common = 0;
    while (common < from.size() && common + 1 < target.size() && from[common] == target[common]) {
        ++common;
    }
    std::string relative;
    for (size_t i = common; i < from.size(); ++i) {
        relative += "../";
    }
    for (size_t i = common; i < target.size(); ++i) {
        relative += target[i];
        if (i + 1 < target.size()) {
            relative += "/";
        }
    }
    return relative;
}

std::string DirectoryOf(const std::string& path) {
    const size_t slash = path.rfind('/');
    return slash == std::string::npos || slash == 0 ? std::string("/") : path.substr(0, slash);
}

std::string StemOf(const std::string& path) {
    std::string name = path.substr(path.rfind('/') + 1);
    const size_t dot = name.rfind('.');
    return dot == std::string::npos || dot == 0 ? name : name.substr(0, dot);
}

bool IsFile(const std::string& path) {
    return access(path.c_str(), R_OK) == 0;
}

bool MakeTempDir() {
    if (!g_tempDir.empty()) {
        return true;
    }
    const char* base = std::getenv("TMPDIR");
    std::string pattern = std::string(base && *base ? base : "/tmp") + "/vormi-view-XXXXXX";
    if (!mkdtemp(&pattern[0])) {
        std::fprintf(stderr, "vormi: --view: cannot make a temporary folder: %s\n", std::strerror(errno));
        return false;
    }
    g_tempDir = pattern;
    return true;
}

bool Convert(const std::string& file, const std::string& hostDir, const std::string& out) {
    const std::string tool = hostDir + "/vormi-convert";
    std::vector<char*> argv = {const_cast<char*>(tool.c_str()), const_cast<char*>("model"),
                               const_cast<char*>(file.c_str()), const_cast<char*>(out.c_str()), nullptr};
    pid_t pid = 0;
    if (posix_spawn(&pid, tool.c_str(), nullptr, nullptr, argv.data(), environ) != 0) {
        std::fprintf(stderr, "vormi: --view %s: cannot run %s\n", file.c_str(), tool.c_str());
        return false;
    }
    int status = 0;
    while (waitpid(pid, &status, 0) < 0 && errno == EINTR) {
    }
    // The converter has printed its own line naming the file and the reason.
    return WIFEXITED(status) && WEXITSTATUS(status) == 0;
}

bool WriteFile(const std::string& path, const std::string& bytes) {
    FILE* f = std::fopen(path.c_str(), "wb");
    if (!f) {
        return false;
    }
    const bool written = std::fwrite(bytes.data(), 1, bytes.size(), f) == bytes.size();
    return std::fclose(f) == 0 && written;
}

}  // namespace

bool PrepareView(const std::string& file, const std::string& hostDir, std::string& modelName) {
    const std::string modelsDir = Canonical("test/models");
    const std::string texDir = Canonical("test/tex");
    if (modelsDir.empty() || texDir.empty()) {
        std::fprintf(stderr, "vormi: --view: the working folder has no asset tree (test/models/, test/tex/)\n");
        return false;
    }
    std::string bytes;
    if (!ReadWholeFile(file, bytes)) {
        std::fprintf(stderr, "vormi: --view %s: cannot be read\n", file.c_str());
        return false;
    }
    std::string model = file;
    ModelFileContents contents;
    std::string error;
    if (!DecodeModelFile(bytes, contents, error)) {
        if (bytes.compare(0, 4, "VEMM") == 0) {
            // Damaged, but in the engine's format: the engine reads it its own way and says what it finds.
            modelName = RelativePath(modelsDir, file);
            return true;
        }
        if (!MakeTempDir()) {
            return false;
        }
        model = g_tempDir + "/" + StemOf(file) + ".vmdl";
        if (!Convert(file, hostDir, model) || !ReadWholeFile(model, bytes) ||
            !DecodeModelFile(bytes, contents, error)) {
            return false;
        }
    }

    // Names the asset tree has stay as they are; the rest are looked for beside the model.
    bool renamed = false;
    for (std::string& name : contents.textureNames) {
        const std::string beside = DirectoryOf(model) + "/" + name;
        if (!IsFile(texDir + "/" + name) && IsFile(beside)) {
            name = RelativePath(texDir, Canonical(beside));
            renamed = true;
        }
    }
    if (renamed) {
        if (!MakeTempDir() || !EncodeModelFile(contents, bytes, error)) {
            return false;
        }
        model = g_tempDir + "/" + StemOf(file) + ".view.vmdl";
        if (!WriteFile(model, bytes)) {
            std::fprintf(stderr, "vormi: --view: cannot write %s\n", model.c_str());
            return false;
        }
    }
    modelName = RelativePath(modelsDir, Canonical(model));
    return true;
}

void CleanUpView() {
    if (g_tempDir.empty()) {
        return;
    }
    if (DIR* dir = opendir(g_tempDir.c_str())) {
        while (dirent* entry = readdir(dir)) {
            if (std::strcmp(entry->d_name, ".") != 0 && std::strcmp(entry->d_name, "..") != 0) {
                std::remove((g_tempDir + "/" + entry->d_name).c_str());
            }
        }
        closedir(dir);
    }
    rmdir(g_tempDir.c_str());
    g_tempDir.clear();
}
