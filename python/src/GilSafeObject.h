#ifndef KOPA_PYTHON_GIL_SAFE_OBJECT_H
#define KOPA_PYTHON_GIL_SAFE_OBJECT_H

#include <pybind11/pybind11.h>

#include <memory>

namespace kopapy {

/// Whether Python objects may still be touched from a thread that does not hold the GIL.
/// After finalization has begun, taking the GIL from a foreign thread would hang it.
bool interpreterAlive() noexcept;

/// A Python object that kopa::Client's callables may copy and destroy on any thread: the
/// last copy takes the GIL to drop its reference (callables die on the main-loop thread or
/// inside a cancel, where nobody holds the GIL).
class GilSafeObject {
  public:
    explicit GilSafeObject(pybind11::object object);

    /// Calls the object with the arguments; the caller holds the GIL.
    template <typename... Args>
    void operator()(Args&&... args) const {
        (*object_)(std::forward<Args>(args)...);
    }

  private:
    std::shared_ptr<pybind11::object> object_;
};

}  // namespace kopapy

#endif
