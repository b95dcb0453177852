#include "GilSafeObject.h"

namespace py = pybind11;

namespace kopapy {

bool interpreterAlive() noexcept {
#if PY_VERSION_HEX >= 0x030D0000
    return Py_IsInitialized() && !Py_IsFinalizing();
#else
    return Py_IsInitialized() && !_Py_IsFinalizing();
#endif
}

GilSafeObject::GilSafeObject(py::object object)
    : object_(new py::object(std::move(object)), [](py::object* doomed) {
          if (!interpreterAlive()) {
              // The interpreter is going away: leaking one reference beats hanging the thread.
              doomed->release();
              delete doomed;
              return;
          }
          py::gil_scoped_acquire gil;
          delete doomed;
      }) {}

}  // namespace kopapy
