// The model viewer: "view_model NAME" opens a resizable form on the game UI layer with a ModelPanel
// showing the model NAME (a name under test/models/, as the model manager takes it). Asking again
// shows the new model in the same form. The menus layer is hidden so the viewer is in front; closing
// the form releases the model.
#pragma once

#include <string>

#include "ui/form.h"

struct CommandLine;
class ModelPanel;
class Button;

class ModelViewer : public Form {
public:
    ModelViewer();
    // Keeps the view filling the form below the title bar and the grip in the bottom-right corner.
    void OnResized() override;
    // Shows the model and puts its file name in the title bar.
    void ShowModel(const std::string& modelName);

    ModelPanel* view = nullptr;
    Button* resizeGrip = nullptr;
};

// The panel name of the viewer form on the game UI layer.
const char* const kModelViewerName = "model_viewer";

void Cmd_ViewModel(const CommandLine& line);
