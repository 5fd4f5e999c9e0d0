// Prints the renderers that the file ROPfeatures on TARVANI_PATH defines, with some of their options.
#include <UT/UT_OptionFile.h>
#include <UT/UT_String.h>
#include <features/FS_RibFeatures.h>

#include <cstdio>

int main() {
    for (int i = 0; i < FS_RibFeatures::entries(); ++i) {
        const UT_OptionFile& options = *FS_RibFeatures::getRenderer(i);
        UT_String token, label, samples, motion;
        options.getOption("rib.renderer.token", token, "");
        options.getOption("rib.renderer.label", label, "");
        options.getOption("samples", samples, "1");
        options.getOption("motion", motion, "on");
        std::printf("%s (%s): samples %s, motion %s\n", token.buffer(), label.buffer(), samples.buffer(),
                    motion.buffer());
    }
    if (!FS_RibFeatures::getRenderer(FS_RibFeatures::getDefaultRenderer()))
        std::printf("the default, %s, is not among them\n", FS_RibFeatures::getDefaultRenderer());
}
