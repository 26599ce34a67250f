// The widget factory of the panel scripts: a type name becomes a new widget named after its type.
#pragma once

#include "engine/api.h"

#include <string>

#include "ui/panel.h"

// "Panel", "GrabBar", "ImagePanel", "Label", "Button", "ToggleButton", "TextBox", "RichTextBox" or
// "ModelPanel" (exact, case-sensitive); null for any other name. The caller owns the result.
VORMI_API Panel* CreateWidget(const std::string& typeName);
