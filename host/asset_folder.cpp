#include "host/asset_folder.h"

#include <cstdlib>
#include <filesystem>
#include <system_error>

namespace fs = std::filesystem;

namespace {

const char* const kRequiredAssets[] = {
    "fonts/OpenSans-Regular.ttf", "fonts/Inconsolata-Regular.ttf", "scripts/con_panel.txt",
    "scripts/main_menu.txt",      "scripts/options_panel.txt",
};

// Relative values of XDG_DATA_HOME are ignored, as the base directory rules ask.
std::string UserDataFolder() {
    const char* xdg = std::getenv("XDG_DATA_HOME");
    if (xdg && xdg[0] == '/') {
        return std::string(xdg) + "/vormi";
    }
    const char* home = std::getenv("HOME");
    if (home && home[0] != '\0') {
        return std::string(home) + "/.local/share/vormi";
    }
    return std::string();
}

std::string Display(const fs::path& path) {
    std::error_code ec;
    const fs::path canonical = fs::weakly_canonical(fs::absolute(path, ec), ec);
    return (ec ? path : canonical).string();
}

// Copies into a side folder first and renames it into place, so an interrupted first run does not
// leave a half-filled test/ that later runs would take as complete.
std::string CopyAssets(const fs::path& from, const fs::path& to) {
    std::error_code ec;
    const fs::path partial = to.string() + ".partial";
    fs::remove_all(partial, ec);
    fs::create_directories(to.parent_path(), ec);
    if (!ec) {
        fs::copy(from, partial, fs::copy_options::recursive, ec);
    }
    if (!ec) {
        fs::rename(partial, to, ec);
    }
    if (ec) {
        fs::remove_all(partial, ec);
        return "vormi: cannot create " + Display(to) + " from " + Display(from) + ": " + ec.message();
    }
    return std::string();
}

}  // namespace

AssetFolder ChooseAssetFolder(const std::string& requested, const std::string& installedAssets) {
    AssetFolder folder;
    std::error_code ec;
    if (!requested.empty()) {
        folder.path = requested;
        if (!fs::equivalent(requested, ".", ec)) {
            folder.note = "vormi: using the assets in " + Display(fs::path(requested) / "test");
        }
        return folder;
    }
    if (fs::is_directory("test", ec)) {
        folder.path = ".";
        return folder;
    }
    folder.path = UserDataFolder();
    if (folder.path.empty()) {
        folder.error = "vormi: no test/ in the working directory and no HOME for a per-user folder; use -C DIR";
        return folder;
    }
    const fs::path assets = fs::path(folder.path) / "test";
    folder.note = "vormi: using the assets in " + Display(assets);
    if (fs::exists(assets, ec)) {
        return folder;
    }
    if (!fs::is_directory(installedAssets, ec)) {
        folder.error = "vormi: no test/ in the working directory and no installed assets in " +
                       Display(installedAssets) + "; use -C DIR";
        return folder;
    }
    folder.error = CopyAssets(installedAssets, assets);
    folder.note += " (first run: copied from " + Display(installedAssets) + ")";
    return folder;
}

std::string CheckAssets() {
    std::string missing;
    std::error_code ec;
    for (const char* asset : kRequiredAssets) {
        if (!fs::is_regular_file(fs::path("test") / asset, ec)) {
            missing += missing.empty() ? " " : ", ";
            missing += asset;
        }
    }
    if (missing.empty()) {
        return missing;
    }
    return "vormi: " + Display("test") + " cannot run the engine, it lacks" + missing;
}
