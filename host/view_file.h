// "vormi --view FILE": makes a model file anywhere on disk viewable by the engine, whose model and
// texture names are relative to ./test/models/ and ./test/tex/. A file that is not in the engine's
// model format is converted first with vormi-convert (beside the host) into a temporary folder; texture
// names the asset tree lacks but the model's folder holds are pointed at the model's folder in a staged
// copy. The result is the name to give "view_model".
#pragma once

#include <string>

// True with the model name; false after printing one line naming the file and the reason.
// Call after changing to the working directory; file must be absolute.
bool PrepareView(const std::string& file, const std::string& hostDir, std::string& modelName);

// Removes the temporary folder, if one was made.
void CleanUpView();
