// The code of a test bundle: tells through a variable of its loader's when it comes and goes.
#include <cstdlib>

namespace {

struct Lifetime {
    Lifetime() { ::setenv("TEST_BUNDLE_MODULE", "loaded", 1); }
    ~Lifetime() { ::setenv("TEST_BUNDLE_MODULE", "unloaded", 1); }
};
const Lifetime g_lifetime;

} // namespace

extern "C" __attribute__((visibility("default"))) int answerOfTheModule()
{
    return 42;
}
