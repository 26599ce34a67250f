#include "ui/form.h"

#include <utility>

#include "ui/button.h"
#include "ui/grab_bar.h"

static const int32_t kCloseButtonWidth = 50;
static const int32_t kTitleHeight = 25;
static const Color kGrabBarColor = {27, 84, 229, 255};
static const Color kCloseColor = {200, 10, 10, 255};
static const Color kClosePressedColor = {160, 0, 0, 255};

Form::Form(std::string formName) : Panel(std::move(formName)) {
    drawBorder = true;
    backgroundColor = Color{124, 138, 178, 255};
    width = 200;
    height = 200;

    grabBar = new GrabBar("grab_bar");
    grabBar->SetParent(this);
    grabBar->x = 0;
    grabBar->y = 0;
    grabBar->width = width - kCloseButtonWidth;
    grabBar->height = kTitleHeight;
    grabBar->OnResized();
    grabBar->backgroundColor = kGrabBarColor;
    grabBar->normalColor = kGrabBarColor;
    grabBar->pressedColor = kGrabBarColor;
    grabBar->SetText(name);

    closeButton = new Button("button_close");
    closeButton->SetParent(this);
    closeButton->x = width - kCloseButtonWidth;
    closeButton->y = 0;
    closeButton->width = kCloseButtonWidth;
    closeButton->height = kTitleHeight;
    closeButton->OnResized();
    closeButton->SetText("Close");
    closeButton->backgroundColor = kCloseColor;
    closeButton->normalColor = kCloseColor;
    closeButton->pressedColor = kClosePressedColor;
    closeButton->panelCommand = "close_panel";
}

void Form::OnResized() {
    if (grabBar) {
        grabBar->x = 0;
        grabBar->y = 0;
        grabBar->width = width - kCloseButtonWidth;
        grabBar->height = kTitleHeight;
        grabBar->OnResized();
    }
    if (closeButton) {
        closeButton->x = width - kCloseButtonWidth;
        closeButton->y = 0;
        closeButton->width = kCloseButtonWidth;
        closeButton->height = kTitleHeight;
        closeButton->OnResized();
    }
}
