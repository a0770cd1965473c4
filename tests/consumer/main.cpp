// A host program built against the installed library only.
#include <klav.h>
#include <cstdio>

int main() {
    unsigned char img[16 * 16 * 4];
    for (int i = 0; i < 16 * 16 * 4; ++i) img[i] = (unsigned char)(i * 7);
    klav::SFDSP::stackBlur(img, 16, 16, 2);
    klav::Matrix3 m;
    klav::klavFree(static_cast<unsigned char *>(nullptr));
    std::printf("consumer ok %g\n", (double)m[0]);
    return m[0] == 1.0f ? 0 : 1;
}
