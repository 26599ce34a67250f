// A button that drags its parent: between a press on it and the release, the parent follows the
// mouse so that the point grabbed stays under it. There are no bounds; a window can be dragged
// partly off screen.
#pragma once

#include <cstdint>
#include <string>

#include "engine/api.h"
#include "ui/button.h"

class VORMI_API GrabBar : public Button {
public:
    explicit GrabBar(std::string name);
    void Update() override;
    void OnMousePressed() override;
    void OnMouseReleased() override;
    void OnMouseReleasedOutside() override;

    int32_t grabOffsetX = 0;
    int32_t grabOffsetY = 0;
    bool dragging = false;
};
