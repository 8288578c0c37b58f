#include <stdexcept>

extern "C" __attribute__((visibility("default"))) void Create() {
    throw std::runtime_error("no licence");
}
