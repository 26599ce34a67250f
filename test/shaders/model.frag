#version 330 compatibility
// The texture lit by one directional light in eye space, with a little ambient so that faces turned
// away stay visible.
uniform sampler2D uTexture;
uniform vec3 uLightDirection;

in vec3 vNormal;
in vec2 vUV;

out vec4 fragColor;

void main() {
    float diffuse = max(dot(normalize(vNormal), normalize(uLightDirection)), 0.0);
    vec4 base = texture(uTexture, vUV);
    fragColor = vec4(base.rgb * min(0.2 + diffuse, 1.0), base.a);
}
