#include "ui/widget_factory.h"

#include "ui/button.h"
#include "ui/grab_bar.h"
#include "ui/image_panel.h"
#include "ui/label.h"
#include "ui/model_panel.h"
#include "ui/rich_text_box.h"
#include "ui/text_box.h"
#include "ui/toggle_button.h"

namespace {

struct WidgetType {
    const char* name;
    Panel* (*create)(const char* name);
};

template <typename T>
Panel* Make(const char* name) {
    return new T(name);
}

const WidgetType kWidgetTypes[] = {
    {"Panel", Make<Panel>},
    {"GrabBar", Make<GrabBar>},
    {"ImagePanel", Make<ImagePanel>},
    {"Label", Make<Label>},
    {"Button", Make<Button>},
    {"ToggleButton", Make<ToggleButton>},
    {"TextBox", Make<TextBox>},
    {"RichTextBox", Make<RichTextBox>},
    {"ModelPanel", Make<ModelPanel>},
};

}  // namespace

Panel* CreateWidget(const std::string& typeName) {
    for (const WidgetType& type : kWidgetTypes) {
        if (typeName == type.name) {
            return type.create(type.name);
        }
    }
    return nullptr;
}
