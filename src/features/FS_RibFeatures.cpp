#include <features/FS_RibFeatures.h>
#include <features/FeatureReader.h>

namespace {

constexpr const char* kFeatureFile = "ROPfeatures";
constexpr const char* kDefaultRenderer = "prman11";

// Lives to the end of the process, since the definitions are the callers' to keep. Filled by the first call.
UT_SortedSymbolTable& loadedRenderers() {
    static UT_SortedSymbolTable* const renderers = [] {
        auto* const table = new UT_SortedSymbolTable;
        CPP_TokenStream words(kFeatureFile, -1, nullptr);
        FeatureReader(words, *table).read();
        table->sortThingsBySymbol();
        return table;
    }();
    return *renderers;
}

}  // namespace

UT_OptionFile* FS_RibFeatures::getRenderer(const char* token) {
    return loadedRenderers()[token].as<UT_OptionFile>();
}

UT_OptionFile* FS_RibFeatures::getRenderer(int index) {
    return loadedRenderers()[index].as<UT_OptionFile>();
}

int FS_RibFeatures::entries() {
    return static_cast<int>(loadedRenderers().entries());
}

const char* FS_RibFeatures::getDefaultRenderer() {
    return kDefaultRenderer;
}
