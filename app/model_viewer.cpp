#include "app/model_viewer.h"

#include <algorithm>

#include "console/command_system.h"
#include "engine/console_output.h"
#include "input/input_system.h"
#include "ui/button.h"
#include "ui/grab_bar.h"
#include "ui/model_panel.h"
#include "ui/root_panel.h"

static const int32_t kViewerWidth = 480;
static const int32_t kViewerHeight = 400;
static const int32_t kMinWidth = 200;
static const int32_t kMinHeight = 150;
static const int32_t kTitleHeight = 25;
static const int32_t kFrame = 2;  // the form's bevel shows around the view
static const int32_t kGripSize = 14;
static const Color kGripColor = {150, 150, 150, 255};
static const Color kGripPressedColor = {112, 112, 112, 255};

namespace {

// A corner button that resizes its parent while it is held, keeping the grab point under the mouse.
class ResizeGrip : public Button {
public:
    ResizeGrip() : Button("resize_grip") {
        backgroundColor = kGripColor;
        normalColor = kGripColor;
        pressedColor = kGripPressedColor;
    }
    void OnMousePressed() override {
        Button::OnMousePressed();
        if (parent) {
            startMouseX_ = g_inputSystem->mouseX;
            startMouseY_ = g_inputSystem->mouseY;
            startWidth_ = parent->width;
            startHeight_ = parent->height;
        }
    }
    void Update() override {
        Button::Update();
        if (!pressed || !parent) {
            return;
        }
        const int32_t w = std::max(kMinWidth, startWidth_ + g_inputSystem->mouseX - startMouseX_);
        const int32_t h = std::max(kMinHeight, startHeight_ + g_inputSystem->mouseY - startMouseY_);
        if (w != parent->width || h != parent->height) {
            parent->width = w;
            parent->height = h;
            parent->OnResized();
        }
    }

private:
    int32_t startMouseX_ = 0;
    int32_t startMouseY_ = 0;
    int32_t startWidth_ = 0;
    int32_t startHeight_ = 0;
};

std::string FileNameOf(const std::string& path) {
    const size_t slash = path.find_last_of("/\\");
    return slash == std::string::npos ? path : path.substr(slash + 1);
}

}  // namespace

ModelViewer::ModelViewer() : Form(kModelViewerName) {
    view = new ModelPanel("model_view");
    view->SetParent(this);
    resizeGrip = new ResizeGrip();
    resizeGrip->SetParent(this);
    // A z-group of its own in front: a click on the view raises the view only within its group.
    resizeGrip->SetZPos(-1);
    width = kViewerWidth;
    height = kViewerHeight;
    OnResized();
}

void ModelViewer::OnResized() {
    Form::OnResized();
    if (view) {
        view->x = kFrame;
        view->y = kTitleHeight + kFrame;
        view->width = width - 2 * kFrame;
        view->height = height - kTitleHeight - 2 * kFrame;
        view->OnResized();
    }
    if (resizeGrip) {
        resizeGrip->x = width - kGripSize;
        resizeGrip->y = height - kGripSize;
        resizeGrip->width = kGripSize;
        resizeGrip->height = kGripSize;
        resizeGrip->OnResized();
    }
}

void ModelViewer::ShowModel(const std::string& modelName) {
    view->SetModel(modelName);
    grabBar->SetText(FileNameOf(modelName));
}

void Cmd_ViewModel(const CommandLine& line) {
    if (line.args.empty()) {
        ConMsg("Usage: view_model NAME (a model file under test/models/)\n");
        return;
    }
    LayerPanel* layer = g_rootPanel ? g_rootPanel->GetLayer(kLayerGameUI) : nullptr;
    if (!layer) {
        return;
    }
    ModelViewer* viewer = dynamic_cast<ModelViewer*>(layer->FindChild(kModelViewerName));
    if (!viewer) {
        viewer = new ModelViewer();
        viewer->SetParent(layer);
        // Centred on the root, which the layer always covers: in the first frames the layer still has
        // the size it was made with.
        viewer->x = (g_rootPanel->width - viewer->width) / 2;
        viewer->y = (g_rootPanel->height - viewer->height) / 2;
    }
    viewer->ShowModel(line.args);
    // The menus layer sits in front of the game UI and takes the mouse: the model is what was asked for.
    g_rootPanel->HideLayer(kLayerMenus);
    ShowPanel(viewer);
    viewer->BringToFront();
}

static CommandReg s_viewModelCommand("view_model", Cmd_ViewModel);
