// Net._beliefs_batch: the Python side of runBatch, returning numpy arrays.
#include "BatchRun.h"
#include <thread>
#include "PyEngine.h"

namespace quorva::py {

namespace {

pb::tuple beliefsBatch(const Net& net, const pb::object& source, const std::vector<std::string>& columns,
                       const std::vector<std::string>& outputs, int threads) {
  BatchJob job;
  job.net = net.get();
  job.columns = columns;
  job.outputs = outputs;
  job.threads = threads > 0 ? threads : static_cast<int>(std::max(1u, std::thread::hardware_concurrency()));
  std::vector<int> widths;
  size_t width = 0;
  for (const std::string& name : outputs) {
    widths.push_back(net.nodeOf(pb::str(name)).numStates());
    width += static_cast<size_t>(widths.back());
  }
  pb::array_t<int32_t, pb::array::c_style | pb::array::forcecast> matrix;
  if (pb::isinstance<pb::str>(source)) {
    job.casePath = source.cast<std::string>();
    job.caseForm = caseFileForm(processEnv());
  } else {
    matrix = pb::array_t<int32_t, pb::array::c_style | pb::array::forcecast>::ensure(source);
    if (!matrix || matrix.ndim() != 2 || static_cast<size_t>(matrix.shape(1)) != columns.size())
      throw pb::value_error("the states are an array of one row per case and one column per node");
    job.matrix = matrix.data();
    job.matrixCases = static_cast<long>(matrix.shape(0));
  }
  BatchResult result;
  {
    pb::gil_scoped_release release;
    result = runBatch(job);
  }
  check(processEnv());  // what a listener raised while the net was copied on this thread
  if (result.errorNumber != 0) throw EngineError{result.errorNumber, result.errorSeverity, result.errorMessage};
  size_t cases = 0;
  for (const auto& b : result.blocks) cases += b->cases();
  pb::array_t<double> probability(static_cast<pb::ssize_t>(cases));
  std::vector<pb::array_t<double>> beliefs;
  for (int w : widths) beliefs.emplace_back(std::vector<pb::ssize_t>{static_cast<pb::ssize_t>(cases), w});
  size_t row = 0;
  double* prob = probability.mutable_data();
  for (const auto& b : result.blocks) {
    for (size_t c = 0; c < b->cases(); ++c, ++row) {
      prob[row] = b->probability[c];
      const double* from = b->beliefs.data() + c * width;
      for (size_t k = 0; k < widths.size(); ++k) {
        std::copy(from, from + widths[k], beliefs[k].mutable_data() + row * static_cast<size_t>(widths[k]));
        from += widths[k];
      }
    }
  }
  pb::dict out;
  for (size_t k = 0; k < outputs.size(); ++k) out[pb::str(outputs[k])] = beliefs[k];
  return pb::make_tuple(out, probability, result.refused, result.firstRefusal);
}

}  // namespace

void bindBatch(pb::module_& m) {
  addMethod(m, "Net", "_beliefs_batch", &beliefsBatch, pb::arg("source"), pb::arg("columns"), pb::arg("outputs"),
            pb::arg("threads"));
}

}  // namespace quorva::py
