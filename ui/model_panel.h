// A 3D view: one model drawn inside the panel's rectangle, with its own viewport and scissor, seen by
// a perspective camera that orbits the model's bounds. Left drag rotates, the wheel zooms, R (with the
// mouse over the view) resets the camera, and a spin turns the model like a turntable. The panel holds
// its model, and the optional texture it draws every section with instead of the model's own, through
// the managers' reference counts, and gives both back when destroyed. The SDL renderer draws no
// models: there the view shows a one-line notice instead.
#pragma once

#include <cstdint>
#include <string>

#include "engine/api.h"
#include "resources/model_mgr.h"
#include "ui/panel.h"

// What the view says under a renderer that draws no models.
const char* const kModelViewNotice = "3D views need renderer_type GLRenderer";

class VORMI_API ModelPanel : public Panel {
public:
    explicit ModelPanel(std::string name);
    ~ModelPanel() override;
    // Keys "model", "texture", "distance" (camera distance in model units, 0 frames the model) and
    // "spin" (degrees per second, 0 still); the rest go to Panel.
    void SetProperty(const std::string& key, const std::string& value) override;
    void Update() override;
    void Draw() override;
    void OnMousePressed() override;
    void OnMouseReleased() override;
    void OnMouseReleasedOutside() override;

    // Holds the model of that name and frames it; one that cannot be loaded shows as the fallback.
    void SetModel(const std::string& modelName);
    // Draws every section with this texture; "" goes back to the model's own textures.
    void SetTexture(const std::string& textureName);
    // Camera back to the front view at the framing distance.
    void ResetView();

    int model = 0;
    int texture = 0;
    float yaw = 0.0f;     // degrees about the model's vertical axis
    float pitch = 0.0f;   // degrees, kept within +-89
    float zoom = 1.0f;    // camera distance as a multiple of distance (or of the framing distance)
    float distance = 0.0f;
    float spin = 0.0f;
    float center[3] = {0.0f, 0.0f, 0.0f};
    float radius = 1.0f;

private:
    ModelRecord* DrawnRecord();
    void DrawModelView(ModelRecord* record);

    bool dragging_ = false;
    int32_t lastMouseX_ = 0;
    int32_t lastMouseY_ = 0;
    uint64_t lastTicks_ = 0;
    int noticeFont_ = -1;
    // The model with the panel's texture on every section; rebuilt only when the model or texture changes.
    ModelRecord retextured_;
    int retexturedWith_ = 0;
};
