// The compiled half of the Python package: thin wrappers over the library's public C interface
// (partition/hypra.h). Arguments arrive already checked and converted by hypra/__init__.py; this
// layer copies them into C arrays, runs the library call with the interpreter lock released and
// turns a failure status into the package's exception carrying the library's message.
#include <pybind11/numpy.h>
#include <pybind11/pybind11.h>
#include <pybind11/stl.h>

#include <cstdint>
#include <cstring>
#include <new>
#include <optional>
#include <string>
#include <utility>
#include <vector>

#include "hypra.h"

namespace py = pybind11;

namespace {

using IntArray = py::array_t<int32_t, py::array::c_style | py::array::forcecast>;

// The exception classes, created once when the module is imported.
struct Exceptions {
  PyObject *error = nullptr;
  PyObject *input = nullptr;
  PyObject *balance = nullptr;
  PyObject *memory = nullptr;
};
Exceptions exceptions;

PyObject *NewException(const char *name, const char *doc, PyObject *bases) {
  PyObject *type = PyErr_NewExceptionWithDoc(name, doc, bases, nullptr);
  if (type == nullptr) throw py::error_already_set();
  return type;
}

void CreateExceptions(py::module_ &m) {
  exceptions.error = NewException("hypra.Error",
                                  "Base class of every error the hypra package raises; str() is "
                                  "the library's message.",
                                  PyExc_Exception);
  py::tuple input_bases =
      py::make_tuple(py::handle(exceptions.error), py::handle(PyExc_ValueError));
  exceptions.input = NewException("hypra.InputError",
                                  "Invalid input: an argument, a malformed hypergraph, or a file "
                                  "that cannot be read or does not follow its format.",
                                  input_bases.ptr());
  py::tuple balance_bases = py::make_tuple(py::handle(exceptions.error));
  exceptions.balance = NewException("hypra.BalanceError",
                                    "No partition keeps every part within the imbalance bound. "
                                    "`parts` holds the partition found, or None when the bound "
                                    "was seen to be impossible before partitioning.",
                                    balance_bases.ptr());
  py::tuple memory_bases =
      py::make_tuple(py::handle(exceptions.error), py::handle(PyExc_MemoryError));
  exceptions.memory = NewException("hypra.OutOfMemoryError",
                                   "The library ran out of memory; the call released what it had "
                                   "allocated and the interpreter goes on.",
                                   memory_bases.ptr());
  // The module keeps a reference to each class, which keeps them alive with it.
  m.attr("Error") = py::handle(exceptions.error);
  m.attr("InputError") = py::handle(exceptions.input);
  m.attr("BalanceError") = py::handle(exceptions.balance);
  m.attr("OutOfMemoryError") = py::handle(exceptions.memory);
}

PyObject *ExceptionFor(int status) {
  switch (status) {
    case HYPRA_ERROR_ARGS:
    case HYPRA_ERROR_INPUT:
      return exceptions.input;
    case HYPRA_ERROR_BALANCE:
      return exceptions.balance;
    case HYPRA_ERROR_MEMORY:
      return exceptions.memory;
    default:
      return exceptions.error;
  }
}

// Raises the exception of a failure status. The message is the library's (HYPRA_LastError, read
// on the thread that made the call); `parts` is attached to a BalanceError.
[[noreturn]] void Fail(int status, const std::string &message, py::object parts = py::none()) {
  py::handle type(ExceptionFor(status));
  py::object error = type(message.empty() ? std::string("hypra: the call failed (status ") +
                                                std::to_string(status) + ")"
                                          : message);
  error.attr("status") = status;
  if (status == HYPRA_ERROR_BALANCE) error.attr("parts") = parts;
  PyErr_SetObject(type.ptr(), error.ptr());
  throw py::error_already_set();
}

std::vector<int> Copy(const IntArray &a) {
  std::vector<int> v(static_cast<size_t>(a.size()));
  if (!v.empty()) std::memcpy(v.data(), a.data(), v.size() * sizeof(int));
  return v;
}

std::optional<std::vector<int>> CopyOptional(const std::optional<IntArray> &a) {
  if (!a) return std::nullopt;
  return Copy(*a);
}

const int *DataOrNull(const std::optional<std::vector<int>> &v) {
  return v ? v->data() : nullptr;
}

py::array_t<int32_t> ToNumpy(const int *data, size_t n) {
  py::array_t<int32_t> a(static_cast<py::ssize_t>(n));
  if (n > 0) std::memcpy(a.mutable_data(), data, n * sizeof(int));
  return a;
}

// The hypergraph's arrays, copied so that the library can read them without the interpreter lock.
struct Arrays {
  int nvtxs;
  int nhedges;
  std::vector<int> eptr, eind;
  std::optional<std::vector<int>> vwgts, hewgts;
};

Arrays CopyArrays(int nvtxs, const IntArray &eptr, const IntArray &eind,
                  const std::optional<IntArray> &vwgts, const std::optional<IntArray> &hewgts) {
  Arrays h{nvtxs,
           static_cast<int>(eptr.size()) - 1,
           Copy(eptr),
           Copy(eind),
           CopyOptional(vwgts),
           CopyOptional(hewgts)};
  if (h.eptr.empty()) Fail(HYPRA_ERROR_ARGS, "hypra: eptr needs at least one entry");
  return h;
}

py::tuple Read(const std::string &path, int format) {
  HYPRA_Hypergraph h{};
  int status;
  std::string message;
  {
    py::gil_scoped_release unlocked;
    status = HYPRA_ReadHypergraph(path.c_str(), format, &h);
    if (status != HYPRA_OK) message = HYPRA_LastError();
  }
  if (status != HYPRA_OK) Fail(status, message);
  py::tuple out;
  try {
    const size_t pins = h.nhedges > 0 ? static_cast<size_t>(h.eptr[h.nhedges]) : 0;
    py::object vwgts = py::none(), hewgts = py::none();
    if (h.vwgts != nullptr) vwgts = ToNumpy(h.vwgts, static_cast<size_t>(h.nvtxs));
    if (h.hewgts != nullptr) hewgts = ToNumpy(h.hewgts, static_cast<size_t>(h.nhedges));
    out = py::make_tuple(h.nvtxs, ToNumpy(h.eptr, static_cast<size_t>(h.nhedges) + 1),
                         ToNumpy(h.eind, pins), vwgts, hewgts);
  } catch (...) {
    HYPRA_FreeHypergraph(&h);
    throw;
  }
  HYPRA_FreeHypergraph(&h);
  return out;
}

py::tuple Partition(int nvtxs, const IntArray &eptr, const IntArray &eind,
                    const std::optional<IntArray> &vwgts, const std::optional<IntArray> &hewgts,
                    int nparts, int method, int rtype, double imbalance, long long seed,
                    int threads, int runs, const std::optional<IntArray> &fixed, int preset) {
  const Arrays h = CopyArrays(nvtxs, eptr, eind, vwgts, hewgts);
  const std::optional<std::vector<int>> fixed_parts = CopyOptional(fixed);
  if (fixed_parts && static_cast<int>(fixed_parts->size()) != nvtxs)
    Fail(HYPRA_ERROR_ARGS, "hypra: fixed needs one entry per vertex");
  // -1 marks "no part yet": after a balance failure it tells whether a partition was found.
  std::vector<int> part(static_cast<size_t>(nvtxs), -1);
  int objective = 0;
  int status;
  std::string message;
  {
    py::gil_scoped_release unlocked;
    HYPRA_Params params;
    HYPRA_DefaultParams(&params);
    params.method = method;
    params.nparts = nparts;
    params.rtype = rtype;
    params.imbalance = imbalance;
    params.seed = seed;
    params.threads = threads;
    params.runs = runs;
    params.fixed = DataOrNull(fixed_parts);
    params.preset = preset;
    status = HYPRA_Partition(h.nvtxs, h.nhedges, DataOrNull(h.vwgts), h.eptr.data(), h.eind.data(),
                             DataOrNull(h.hewgts), &params, part.data(), &objective);
    if (status != HYPRA_OK) message = HYPRA_LastError();
  }
  if (status != HYPRA_OK) {
    bool found = true;
    for (int p : part) found = found && p >= 0 && p < nparts;
    Fail(status, message,
         status == HYPRA_ERROR_BALANCE && found ? py::object(ToNumpy(part.data(), part.size()))
                                                : py::none());
  }
  return py::make_tuple(ToNumpy(part.data(), part.size()), objective);
}

py::dict Metrics(int nvtxs, const IntArray &eptr, const IntArray &eind,
                 const std::optional<IntArray> &vwgts, const std::optional<IntArray> &hewgts,
                 int nparts, const IntArray &parts) {
  const Arrays h = CopyArrays(nvtxs, eptr, eind, vwgts, hewgts);
  const std::vector<int> part = Copy(parts);
  if (static_cast<int>(part.size()) != nvtxs)
    Fail(HYPRA_ERROR_ARGS, "hypra: parts needs one entry per vertex");
  if (nparts < 1) Fail(HYPRA_ERROR_ARGS, "hypra: the number of parts must be at least 1");
  std::vector<long long> weights(static_cast<size_t>(nparts));
  HYPRA_Metrics m{};
  int status;
  std::string message;
  {
    py::gil_scoped_release unlocked;
    status =
        HYPRA_ComputeMetrics(h.nvtxs, h.nhedges, DataOrNull(h.vwgts), h.eptr.data(), h.eind.data(),
                             DataOrNull(h.hewgts), nparts, part.data(), weights.data(), &m);
    if (status != HYPRA_OK) message = HYPRA_LastError();
  }
  if (status != HYPRA_OK) Fail(status, message);
  py::array_t<int64_t> part_weights(static_cast<py::ssize_t>(nparts));
  std::memcpy(part_weights.mutable_data(), weights.data(), weights.size() * sizeof(long long));
  py::dict d;
  d["cut"] = m.cut;
  d["soed"] = m.soed;
  d["km1"] = m.km1;
  d["total_weight"] = m.total_weight;
  d["max_part_weight"] = m.max_part_weight;
  d["imbalance"] = m.imbalance;
  d["part_weights"] = part_weights;
  return d;
}

}  // namespace

// Memory that runs out in this layer (copying the arrays, say) is the library's memory failure too.
template <typename R, typename... Args>
auto CatchBadAlloc(R (*body)(Args...)) {
  return [body](Args... args) -> R {
    try {
      return body(std::forward<Args>(args)...);
    } catch (const std::bad_alloc &) {
      Fail(HYPRA_ERROR_MEMORY, "hypra: out of memory");
    }
  };
}

PYBIND11_MODULE(_hypra, m) {
  m.doc() =
      "Low-level bindings of the hypra library; use the functions of the hypra package instead.";
  static_assert(sizeof(int) == sizeof(int32_t), "the library's arrays are 32-bit ints");
  CreateExceptions(m);
  m.attr("RECURSIVE") = HYPRA_RECURSIVE;
  m.attr("PRESET_DEFAULT") = HYPRA_PRESET_DEFAULT;
  m.attr("PRESET_QUALITY") = HYPRA_PRESET_QUALITY;
  m.attr("DIRECT") = HYPRA_DIRECT;
  m.attr("FORMAT_AUTO") = HYPRA_FORMAT_AUTO;
  m.attr("FORMAT_HGR") = HYPRA_FORMAT_HGR;
  m.attr("FORMAT_MTX_COLNET") = HYPRA_FORMAT_MTX_COLNET;
  m.attr("FORMAT_MTX_ROWNET") = HYPRA_FORMAT_MTX_ROWNET;
  m.attr("FORMAT_PATOH") = HYPRA_FORMAT_PATOH;
  m.def(
      "version", [] { return std::string(HYPRA_Version()); },
      "The library's version (HYPRA_Version).");
  m.def("read", CatchBadAlloc(&Read), py::arg("path"), py::arg("format"),
        "Reads a hypergraph file: (nvtxs, eptr, eind, vwgts or None, hewgts or None).");
  m.def("partition", CatchBadAlloc(&Partition), py::arg("nvtxs"), py::arg("eptr"), py::arg("eind"),
        py::arg("vwgts").none(true), py::arg("hewgts").none(true), py::arg("nparts"),
        py::arg("method"), py::arg("rtype"), py::arg("imbalance"), py::arg("seed"),
        py::arg("threads"), py::arg("runs"), py::arg("fixed").none(true), py::arg("preset"),
        "Runs HYPRA_Partition with the interpreter lock released: (parts, objective).");
  m.def("metrics", CatchBadAlloc(&Metrics), py::arg("nvtxs"), py::arg("eptr"), py::arg("eind"),
        py::arg("vwgts").none(true), py::arg("hewgts").none(true), py::arg("nparts"),
        py::arg("parts"), "Runs HYPRA_ComputeMetrics: a dict of the partition's figures.");
}
