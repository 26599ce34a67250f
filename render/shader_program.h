// The model program: the GLSL program the OpenGL renderer draws uploaded models with, built from
// "model.vert" and "model.frag" in the shader folder. It expects the attributes "aPos" (3 floats),
// "aNormal" (3 floats) and "aUV" (2 floats) and the uniforms "uTexture" and "uLightDirection"; a
// shader may leave any of them out.
#pragma once

#include <cstdint>
#include <string>

// GL name of the model program; 0 while there is none.
extern uint32_t modelProgram;

// The whole file from the shader folder; "" (after a console line) when it cannot be read.
std::string LoadShaderFile(const std::string& name);
// One compiled stage; 0 after printing the compile log.
uint32_t CompileShader(uint32_t type, const std::string& source);
// Builds modelProgram from the two sources. False when a source is missing (the program is then
// left as it was) or a stage or the link failed (the program is then 0).
bool BuildModelShader();
// Deletes and rebuilds the model program; nothing while no GL context with its entry points exists.
void ReloadModelShader();
