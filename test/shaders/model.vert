#version 330 compatibility
// Positions go through the fixed-function matrices the renderer sets with glTranslatef/glRotatef.
// aPos sits at location 0, which a compatibility context needs enabled to draw at all.
layout(location = 0) in vec3 aPos;
layout(location = 1) in vec3 aNormal;
layout(location = 2) in vec2 aUV;

out vec3 vNormal;
out vec2 vUV;

void main() {
    vNormal = gl_NormalMatrix * aNormal;
    vUV = aUV;
    gl_Position = gl_ModelViewProjectionMatrix * vec4(aPos, 1.0);
}
