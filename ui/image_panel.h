// A panel that shows one texture stretched over its rectangle, tinted with its background colour.
// It holds a reference on the texture while it shows it and gives it back when destroyed.
#pragma once

#include <string>

#include "engine/api.h"
#include "ui/panel.h"

class VORMI_API ImagePanel : public Panel {
public:
    explicit ImagePanel(std::string name);
    ~ImagePanel() override;
    // Key "texture"; the rest go to Panel.
    void SetProperty(const std::string& key, const std::string& value) override;
    void Draw() override;
    // Shows the texture of that name, loading it when needed; a missing file leaves handle 0, no image.
    virtual void SetTexture(const std::string& textureName);

    int texture = 0;
};
