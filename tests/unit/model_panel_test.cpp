#include <cmath>
#include <memory>

#include "input/input_system.h"
#include "support/offscreen.h"
#include "support/recording_renderer.h"
#include "ui/model_panel.h"
#include "ui/widget_factory.h"

namespace {

// Logs the calls as the recording renderer does, but is the SDL renderer to the code that asks and
// makes real textures, so fonts and the texture table work.
class SdlRecorder : public RecordingRenderer {
public:
    explicit SdlRecorder(IRenderer* real) : real_(real) {}
    int GetRendererId() override { return kRendererSDL; }
    Texture CreateTexture(SDL_Surface* surface, const std::string& name, bool filter) override {
        return real_->CreateTexture(surface, name, filter);
    }

private:
    IRenderer* real_;
};

class ModelPanelTest : public OffscreenTest {
protected:
    void SetUp() override {
        OffscreenTest::SetUp();
        recorder_.reset(new SdlRecorder(g_renderer));
        scoped_.reset(new ScopedRenderer(recorder_.get()));
        *g_inputSystem = InputSystem();
        top_ = new Panel("top");
        top_->SetProperty("size", "400 300");
        top_->AddChild(view_ = static_cast<ModelPanel*>(CreateWidget("ModelPanel")));
        view_->SetProperty("position", "50 20");
        view_->SetProperty("model", "plane.vmdl");
        view_->SetProperty("texture", "plane.bmp");
        Step(0, 0, false);
        Step(0, 0, false);
    }
    void TearDown() override {
        if (top_) top_->Destroy();
        scoped_.reset();
        OffscreenTest::TearDown();
    }
    void Step(int x, int y, bool down) {
        g_inputSystem->mouseX = x;
        g_inputSystem->mouseY = y;
        g_inputSystem->mouseButtons = down ? SDL_BUTTON_LMASK : 0;
        top_->Update();
        g_inputSystem->mouseWheel = 0;
        g_inputSystem->keysPressedNoRepeat[SDL_SCANCODE_R] = 0;
    }

    std::unique_ptr<SdlRecorder> recorder_;
    std::unique_ptr<ScopedRenderer> scoped_;
    Panel* top_ = nullptr;
    ModelPanel* view_ = nullptr;
};

TEST_F(ModelPanelTest, UnderTheSdlRendererDrawsItsNoticeAndNothingElse) {
    top_->ComputeClipRect();
    recorder_->Reset();
    view_->Draw();
    std::vector<std::string> calls = recorder_->calls;
    ASSERT_EQ(calls.size(), 6u) << ::testing::PrintToString(calls);
    EXPECT_NE(calls[4].find(std::string(" ") + kModelViewNotice + " 58 "), std::string::npos) << calls[4];
    calls[4] = calls[4].substr(0, 4);
    EXPECT_EQ(calls, (std::vector<std::string>{"clip 50 20 320 240", "fill 50 20 320 240 40 42 48 255", "clip off",
                                               "clip 50 20 320 240", "text", "clip off"}));
}

TEST_F(ModelPanelTest, OrbitsItsModelAndHoldsItUntilDestroyed) {
    ModelRecord* model = g_modelMgr->GetModel(view_->model);
    ASSERT_NE(model, nullptr);
    EXPECT_EQ(model->name, "plane.vmdl");
    EXPECT_EQ(model->refCount, 1);
    Texture* texture = g_textureMgr->GetTexture(view_->texture);
    ASSERT_NE(texture, nullptr);
    EXPECT_EQ(texture->refCount, 2) << "one for the model, one for the view";
    EXPECT_FLOAT_EQ(view_->radius, std::sqrt(2.0f)) << "the 2x2 plane's bounding sphere";

    Step(200, 100, false);
    Step(200, 100, true);
    Step(220, 90, true);
    Step(600, 90, false);  // released outside: the drag ends there
    Step(650, 200, false);
    EXPECT_FLOAT_EQ(view_->yaw, 10.0f);
    EXPECT_FLOAT_EQ(view_->pitch, -5.0f);
    g_inputSystem->mouseWheel = 1;
    Step(200, 100, false);
    EXPECT_FLOAT_EQ(view_->zoom, 0.9f);
    g_inputSystem->keysPressedNoRepeat[SDL_SCANCODE_R] = 1;
    Step(200, 100, false);
    EXPECT_EQ(view_->yaw, 0.0f);
    EXPECT_EQ(view_->zoom, 1.0f);

    top_->Destroy();
    top_ = nullptr;
    EXPECT_EQ(model->refCount, 0);
    EXPECT_NE(model->releaseTime, 0u);
    EXPECT_EQ(texture->refCount, 1) << "the model still holds its texture";
}

}  // namespace
