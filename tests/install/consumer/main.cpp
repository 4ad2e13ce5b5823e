#include <orn/orn.h>

#include <cstdio>

int main() {
    orn::TComponent owner(nullptr);
    owner.SetName("Form1");
    orn::TOrnMathVector v = orn::ToVec(3, 0, 4);
    orn::OrnMathNormalize(v);
    std::printf("orn %s %s\n", v.x == 0.6 ? "ok" : "wrong", ORN_VERSION_STRING);
    return 0;
}
