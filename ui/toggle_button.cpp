#include "ui/toggle_button.h"

#include <utility>

ToggleButton::ToggleButton(std::string buttonName) : Button(std::move(buttonName)) {
    width = 16;
    height = 16;
}

void ToggleButton::SetChecked(bool value) {
    checked = value;
    SetText(checked ? "X" : "");
}

void ToggleButton::OnClick() {
    SetChecked(!checked);
    RunCommands();
}
