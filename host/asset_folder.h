// Where the host runs the engine. The engine reads ./test/ (fonts, scripts, shaders, textures, models)
// and writes its settings there, so the host picks the folder before it starts the engine.
#pragma once

#include <string>

struct AssetFolder {
    std::string path;   // the folder to change to; it holds test/
    std::string note;   // one line for the user when the folder is not the working directory
    std::string error;  // one line when no folder can be used
};

// The folder given with -C when there is one; else the working directory when it has test/; else the
// per-user folder ($XDG_DATA_HOME/vormi, default ~/.local/share/vormi), whose test/ is copied from
// installedAssets on first run so that settings are written where the user may write.
AssetFolder ChooseAssetFolder(const std::string& requested, const std::string& installedAssets);

// Empty when ./test/ holds the fonts and the three UI scripts the engine cannot start without;
// otherwise one line naming the folder and what it lacks.
std::string CheckAssets();
