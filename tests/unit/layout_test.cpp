// What hosts read and write directly: sizes and member offsets that follow from the published field
// orders. A reordered or inserted field fails the build here.
#include <SDL.h>

#include <cstddef>
#include <string>
#include <vector>

#include "console/cvar.h"
#include "engine/engine_common.h"
#include "input/input_system.h"
#include "render/draw_types.h"
#include "resources/font_system.h"
#include "resources/model_mgr.h"
#include "ui/panel.h"
#include "ui/rich_text_box.h"
#include "ui/text_box.h"

#pragma GCC diagnostic ignored "-Winvalid-offsetof"
constexpr size_t kPtr = sizeof(void*), kStr = sizeof(std::string), kVec = sizeof(std::vector<int>);

static_assert(sizeof(Color) == 4 && offsetof(Color, a) == 3, "Color: r, g, b, a bytes");
static_assert(sizeof(Rect) == sizeof(SDL_Rect) && offsetof(Rect, h) == offsetof(SDL_Rect, h) &&
              sizeof(Point) == sizeof(SDL_Point) && offsetof(Point, y) == offsetof(SDL_Point, y) &&
              sizeof(Vertex) == sizeof(SDL_Vertex) && offsetof(Vertex, u) == offsetof(SDL_Vertex, tex_coord),
              "Rect, Point and Vertex are SDL's");
static_assert(sizeof(EngineHooks) == 3 * kPtr && sizeof(TextSize) == 8 && offsetof(EngineCommon, rootPanel) == kPtr &&
              offsetof(EngineCommon, extraHook) == 4 * kPtr, "hooks, text size; EngineCommon: vtable, root, hooks");
static_assert(offsetof(CVar, master) == 0 && offsetof(CVar, name) == kPtr &&
              offsetof(CVar, floatValue) == kPtr + 2 * kStr && offsetof(CVar, save) == kPtr + 2 * kStr + 8 &&
              offsetof(CVar, next) == 3 * kPtr + 2 * kStr + 8,
              "CVar: master, name, value, floatValue, intValue, save, onChange, next");
constexpr size_t kKeys = offsetof(InputSystem, keysHeld), kMouse = offsetof(InputSystem, mouseButtons);
static_assert(offsetof(InputSystem, wantTextInput) == kPtr && kKeys == kPtr + 2 &&
              offsetof(InputSystem, keysPressedNoRepeat) == kKeys + 1024 && kMouse == (kKeys + 1536 + 3) / 4 * 4 &&
              offsetof(InputSystem, mouseWheel) == kMouse + 20 &&
              offsetof(InputSystem, textInput) == (kMouse + 24 + 7) / 8 * 8,
              "InputSystem: two flags, three key arrays of 512, mouse fields, text last");
constexpr size_t kPanelX = offsetof(Panel, x), kParent = offsetof(Panel, parent), kZ = offsetof(Panel, zpos);
static_assert(offsetof(Panel, enabled) == kPtr && offsetof(Panel, alwaysDraw) == kPtr + 9 &&
              offsetof(Panel, name) == 3 * kPtr && kPanelX == 3 * kPtr + kStr &&
              offsetof(Panel, clipRect) == kPanelX + 24 && kParent == kPanelX + 48 &&
              kZ == kParent + 2 * kPtr + 2 * kVec && offsetof(Panel, visibleChildCount) == kZ + 12,
              "Panel: ten flags, name, position, size, clip, colour, parent, focus, lists, zpos, flags, count");
static_assert(offsetof(TextBox, text) == sizeof(Panel) && offsetof(RichTextBox, active) == sizeof(Panel) &&
              offsetof(RichTextLine, extra) == kStr && offsetof(TextPosition, line) == 4,
              "text box fields follow the panel; line record, position");
static_assert(offsetof(Texture, releaseTime) == kStr && offsetof(Texture, sdlTexture) == kStr + 8 &&
              offsetof(Texture, width) == kStr + 8 + kPtr + 4 && offsetof(Texture, persistent) == kStr + 24 + kPtr,
              "Texture: name, releaseTime, sdlTexture, glTexture, width, height, refCount, persistent");
static_assert(offsetof(FontRecord, size) == 2 * kStr && offsetof(FontRecord, monospace) == 2 * kStr + 12 &&
              offsetof(FontRecord, atlas) == 2 * kStr + 24 &&
              offsetof(FontRecord, glyphs) == 2 * kStr + 24 + sizeof(Texture),
              "FontRecord: names, size, colours, monospace, cell size, atlas, glyphs");
constexpr size_t kBuffers = kStr + 5 * kVec;
static_assert(sizeof(ModelVertex) == 32 && sizeof(ModelSection) == 12, "model file records");
static_assert(offsetof(ModelRecord, vertices) == kStr && offsetof(ModelRecord, vertexBuffer) == kBuffers &&
              offsetof(ModelRecord, uploaded) == kBuffers + 8 && offsetof(ModelRecord, refCount) == kBuffers + 12 &&
              offsetof(ModelRecord, releaseTime) == kBuffers + 16 && offsetof(ModelRecord, persistent) == kBuffers + 24,
              "ModelRecord: name, five arrays, buffers, uploaded, refCount, releaseTime, persistent");
