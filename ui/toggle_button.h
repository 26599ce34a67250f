// A 16x16 button with an on/off state, marked "X" while on. A click flips the state before the
// button's commands run.
#pragma once

#include <string>

#include "engine/api.h"
#include "ui/button.h"

class VORMI_API ToggleButton : public Button {
public:
    explicit ToggleButton(std::string name);
    void OnClick() override;
    // Sets the state and its mark without running any command.
    void SetChecked(bool value);

    bool checked = false;
};
