#include <orn/view/TOrnCoordinates.h>

#include <GL/gl.h>

namespace orn {

void TOrnCoordinates::SetVisible(bool value) {
    if (assignIfChanged(fVisible, value)) Changed();
}

void TOrnCoordinates::SetLength(float value) {
    if (!(value > 0.0f)) return;
    if (assignIfChanged(fLength, value)) Changed();
}

void TOrnCoordinates::SetColorX(TColor value) {
    if (assignIfChanged(fColorX, value)) Changed();
}

void TOrnCoordinates::SetColorY(TColor value) {
    if (assignIfChanged(fColorY, value)) Changed();
}

void TOrnCoordinates::SetColorZ(TColor value) {
    if (assignIfChanged(fColorZ, value)) Changed();
}

void TOrnCoordinates::Render() {
    if (!fVisible) return;
    glPushAttrib(GL_ENABLE_BIT | GL_CURRENT_BIT | GL_LINE_BIT);
    glDisable(GL_LIGHTING);
    glDisable(GL_TEXTURE_2D);
    glBegin(GL_LINES);
    const TColor colors[3] = {fColorX, fColorY, fColorZ};
    for (int axis = 0; axis < 3; ++axis) {
        glColor3ub(GetRValue(colors[axis]), GetGValue(colors[axis]), GetBValue(colors[axis]));
        float end[3] = {0.0f, 0.0f, 0.0f};
        end[axis] = fLength;
        glVertex3f(0.0f, 0.0f, 0.0f);
        glVertex3fv(end);
    }
    glEnd();
    glPopAttrib();
}

void TOrnCoordinates::Assign(const TPersistent* source) {
    if (AssignProperties(source)) Changed();
}

ORN_DESCRIBE_PROPERTIES(TOrnCoordinates, nullptr) {
    ORN_PROP(b, TOrnCoordinates, Visible, true);
    ORN_PROP(b, TOrnCoordinates, Length, 1.0f);
    b.Color("ColorX", &TOrnCoordinates::fColorX, &TOrnCoordinates::SetColorX, clRed);
    b.Color("ColorY", &TOrnCoordinates::fColorY, &TOrnCoordinates::SetColorY, clLime);
    b.Color("ColorZ", &TOrnCoordinates::fColorZ, &TOrnCoordinates::SetColorZ, clBlue);
}

} // namespace orn
