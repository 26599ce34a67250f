#include "ui/image_panel.h"

#include <utility>

#include "render/renderer.h"
#include "resources/texture_mgr.h"

ImagePanel::ImagePanel(std::string panelName) : Panel(std::move(panelName)) {}

ImagePanel::~ImagePanel() {
    g_textureMgr->ReleaseTexture(texture);
}

void ImagePanel::SetProperty(const std::string& key, const std::string& value) {
    if (key == "texture") {
        SetTexture(value);
    } else {
        Panel::SetProperty(key, value);
    }
}

void ImagePanel::SetTexture(const std::string& textureName) {
    // Takes a reference on the new texture and drops the one on the old, unless they are the same.
    g_textureMgr->SetTexture(textureName, texture);
}

void ImagePanel::Draw() {
    ComputeClipRect();
    if (!g_renderer || !IsDrawable()) {
        return;
    }
    Panel::Draw();
    // Handle 0 means no image here: the panel shows its background alone.
    if (texture == 0) {
        return;
    }
    g_renderer->SetClipRect(&clipRect);
    const Rect area = {screenX, screenY, width, height};
    g_renderer->DrawTextureById(&area, backgroundColor, texture);
    g_renderer->SetClipRect(nullptr);
}
