// Running a learner's method.
#include "BN/Learning/Learner.h"

#include "BN/Learning/EmLearning.h"
#include "BN/Learning/LearnErrors.h"
#include "Basic/Raise.h"

namespace quorva {

void Learner::learn(const std::vector<Bnode*>& nodes, const std::vector<WeightedFile>& files,
                    const CaseFormat& format) {
  switch (method) {
    case LearnMethod::Counting:
      reviseByCaseFiles(files, nodes, format);
      last = {1, {}};
      return;
    case LearnMethod::EM:
      last = learnByEm(nodes, files, format, settings);
      return;
    case LearnMethod::GradientAscent:
      engError(env, err::GradientNotAvailable);
  }
}

}  // namespace quorva
