#include "ui/model_panel.h"

#include <SDL.h>

#include <cmath>
#include <locale>
#include <sstream>
#include <utility>

#include "input/input_system.h"
#include "render/model_fixed_draw.h"
#include "render/renderer.h"
#include "render/renderer_backend.h"
#include "resources/file_system.h"
#include "resources/font_system.h"
#include "resources/handle_table.h"
#include "resources/model_file.h"
#include "resources/texture_mgr.h"
#include "ui/label.h"

static const float kFieldOfView = 60.0f;  // horizontal, degrees
static const float kDegreesPerPixel = 0.5f;
static const float kMaxPitch = 89.0f;
static const float kZoomStep = 0.9f;
static const float kMinZoom = 0.05f;
static const float kMaxZoom = 20.0f;
static const float kFrameMargin = 1.1f;
static const float kDegToRad = 0.017453292f;
static const Color kViewBackground = {40, 42, 48, 255};
static const Color kNoticeColor = {255, 255, 255, 255};
static const Color kNoticeBackColor = {255, 255, 255, 0};
static const int32_t kNoticeMargin = 8;
// The input system's wheel reading: 1 up, 2 down.
static const int32_t kWheelUp = 1;
static const int32_t kWheelDown = 2;

static bool ReadFloat(const std::string& value, float& out) {
    std::istringstream in(value);
    in.imbue(std::locale::classic());
    float read = 0.0f;
    if (!(in >> read) || !std::isfinite(read)) {
        return false;
    }
    out = read;
    return true;
}

static float Clamp(float v, float lo, float hi) {
    return v < lo ? lo : v > hi ? hi : v;
}

ModelPanel::ModelPanel(std::string panelName) : Panel(std::move(panelName)) {
    backgroundColor = kViewBackground;
    width = 320;
    height = 240;
    // The notice font is only needed where no model can be drawn.
    if (g_renderer && g_renderer->GetRendererId() != kRendererGL) {
        noticeFont_ = g_fontSystem->FindFont(kLabelFontName, kLabelFontSize, kNoticeColor, kNoticeBackColor);
        if (noticeFont_ < 0) {
            noticeFont_ = g_fontSystem->LoadFont(kLabelFontName, kLabelFontPath, kLabelFontSize, kNoticeColor,
                                                 kNoticeBackColor);
        }
    }
    lastTicks_ = SDL_GetTicks64();
}

ModelPanel::~ModelPanel() {
    g_modelMgr->ReleaseModel(model);
    g_textureMgr->ReleaseTexture(texture);
}

void ModelPanel::SetProperty(const std::string& key, const std::string& value) {
    if (key == "model") {
        SetModel(value);
    } else if (key == "texture") {
        SetTexture(value);
    } else if (key == "distance") {
        float d = 0.0f;
        if (ReadFloat(value, d) && d >= 0.0f) {
            distance = d;
        }
    } else if (key == "spin") {
        ReadFloat(value, spin);
    } else {
        Panel::SetProperty(key, value);
    }
}

void ModelPanel::SetModel(const std::string& modelName) {
    g_modelMgr->SetModel(modelName, model);
    const ModelRecord* record = g_modelMgr->GetModel(model);
    // An uploaded model keeps no vertices in memory; its file still has them.
    ModelBounds bounds;
    if (record && !record->vertices.empty()) {
        bounds = VertexBounds(record->vertices);
    } else if (model != 0) {
        bounds = ModelFileBounds(g_fileSystem->GetModelPath(NormalizeAssetName(modelName)));
    }
    radius = 1.0f;
    for (int axis = 0; axis < 3; ++axis) {
        center[axis] = bounds.empty ? 0.0f : (bounds.min[axis] + bounds.max[axis]) * 0.5f;
    }
    if (!bounds.empty) {
        const float dx = bounds.max[0] - bounds.min[0];
        const float dy = bounds.max[1] - bounds.min[1];
        const float dz = bounds.max[2] - bounds.min[2];
        const float half = 0.5f * std::sqrt(dx * dx + dy * dy + dz * dz);
        // A flat or single-point model still needs a size to be framed by.
        radius = half > 1e-6f && std::isfinite(half) ? half : 1.0f;
    }
    ResetView();
}

void ModelPanel::SetTexture(const std::string& textureName) {
    if (textureName.empty()) {
        g_textureMgr->ReleaseTexture(texture);
        texture = 0;
        return;
    }
    g_textureMgr->SetTexture(textureName, texture);
}

void ModelPanel::ResetView() {
    yaw = 0.0f;
    pitch = 0.0f;
    zoom = 1.0f;
}

void ModelPanel::OnMousePressed() {
    Panel::OnMousePressed();
    dragging_ = true;
    lastMouseX_ = g_inputSystem->mouseX;
    lastMouseY_ = g_inputSystem->mouseY;
}

void ModelPanel::OnMouseReleased() {
    Panel::OnMouseReleased();
    dragging_ = false;
}

void ModelPanel::OnMouseReleasedOutside() {
    Panel::OnMouseReleasedOutside();
    dragging_ = false;
}

void ModelPanel::Update() {
    Panel::Update();
    const uint64_t now = SDL_GetTicks64();
    const float seconds = static_cast<float>(now - lastTicks_) / 1000.0f;
    lastTicks_ = now;
    const InputSystem& input = *g_inputSystem;
    if (dragging_) {
        yaw += static_cast<float>(input.mouseX - lastMouseX_) * kDegreesPerPixel;
        pitch = Clamp(pitch + static_cast<float>(input.mouseY - lastMouseY_) * kDegreesPerPixel, -kMaxPitch, kMaxPitch);
        lastMouseX_ = input.mouseX;
        lastMouseY_ = input.mouseY;
    } else if (spin != 0.0f && visible) {
        yaw = std::fmod(yaw + spin * seconds, 360.0f);
    }
    if (!hovered) {
        return;
    }
    if (input.mouseWheel == kWheelUp) {
        zoom = Clamp(zoom * kZoomStep, kMinZoom, kMaxZoom);
    } else if (input.mouseWheel == kWheelDown) {
        zoom = Clamp(zoom / kZoomStep, kMinZoom, kMaxZoom);
    }
    // A text box that takes typing owns the letter keys.
    if (input.keysPressedNoRepeat[SDL_SCANCODE_R] && !input.wantTextInput) {
        ResetView();
    }
}

ModelRecord* ModelPanel::DrawnRecord() {
    ModelRecord* record = g_modelMgr->GetModel(model);
    if (!record || texture == 0) {
        return record;
    }
    // Compared every frame, copied only when the model or texture changed: nothing is allocated here
    // in steady state.
    if (retexturedWith_ != texture || retextured_.name != record->name ||
        retextured_.vertexBuffer != record->vertexBuffer || retextured_.indexBuffer != record->indexBuffer ||
        retextured_.uploaded != record->uploaded || retextured_.vertices.size() != record->vertices.size()) {
        retextured_ = *record;
        for (ModelSection& section : retextured_.sections) {
            section.textureIndex = 0;
        }
        retextured_.textureNames.assign(1, std::string());
        retextured_.textureHandles.assign(1, texture);
        retexturedWith_ = texture;
    }
    return &retextured_;
}

void ModelPanel::Draw() {
    ComputeClipRect();
    if (!g_renderer || !IsDrawable()) {
        return;
    }
    Panel::Draw();
    if (width <= 0 || height <= 0) {
        return;
    }
    g_renderer->SetClipRect(&clipRect);
    if (g_renderer->GetRendererId() == kRendererGL) {
        DrawModelView(DrawnRecord());
    } else if (noticeFont_ >= 0) {
        const TextSize size = g_fontSystem->MeasureText(kModelViewNotice, g_fontSystem->GetFont(noticeFont_));
        g_renderer->DrawText(noticeFont_, kModelViewNotice, screenX + kNoticeMargin,
                             screenY + (height - size.height) / 2);
    }
    g_renderer->SetClipRect(nullptr);
}

void ModelPanel::DrawModelView(ModelRecord* record) {
    if (!record) {
        return;
    }
    // Frame the bounding sphere in the narrower of the two fields of view.
    const float aspect = static_cast<float>(width) / static_cast<float>(height);
    const float halfHorizontal = kFieldOfView * kDegToRad * 0.5f;
    const float halfVertical = std::atan(std::tan(halfHorizontal) / aspect);
    const float halfNarrow = halfHorizontal < halfVertical ? halfHorizontal : halfVertical;
    const float framing = distance > 0.0f ? distance : radius * kFrameMargin / std::sin(halfNarrow);
    const float cameraDistance = framing * zoom;
    const float zNear = cameraDistance - 2.0f * radius > cameraDistance * 0.01f ? cameraDistance - 2.0f * radius
                                                                                  : cameraDistance * 0.01f;
    const float zFar = cameraDistance + 2.0f * radius;

    // DrawModel places the model at p and then turns it by pitch about x and yaw about y; to turn it
    // about its centre c instead, p is the camera offset minus the turned centre.
    const float cy = std::cos(yaw * kDegToRad), sy = std::sin(yaw * kDegToRad);
    const float cp = std::cos(pitch * kDegToRad), sp = std::sin(pitch * kDegToRad);
    const float x1 = center[0] * cy + center[2] * sy;
    const float z1 = -center[0] * sy + center[2] * cy;
    const float y2 = center[1] * cp - z1 * sp;
    const float z2 = center[1] * sp + z1 * cp;

    g_renderer->Begin3D(screenX, screenY, width, height, kFieldOfView, zNear, zFar);
    if (!record->uploaded || ModelProgramReady()) {
        g_renderer->DrawModel(record, -x1, -y2, -cameraDistance - z2, pitch, yaw, 0.0f);
    } else {
        DrawModelFixedFunction(*record, -x1, -y2, -cameraDistance - z2, pitch, yaw, 0.0f);
    }
    // Back to the state the rest of the interface is drawn in.
    g_renderer->Begin2D();
}
