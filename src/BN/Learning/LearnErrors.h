// The errors, warnings and notices of learning tables from cases and of testing nets on cases.
#pragma once
#include "Basic/ErrDef.h"

namespace quorva::err {

// Arguments.
inline constexpr ErrDef UpdatingArg{
    5700, "argument 'updating' should be 0 with this version of >-Quorva (it is %g)"};
inline constexpr ErrDef DeletedNodesPassed{5184, "deleted or damaged >-Bnodes passed"};
inline constexpr ErrDef FadeDegreeArg{
    5701, "argument 'degree' is %g, but it should be within 0 to 1 inclusive"};
inline constexpr ErrDef FadeNoCpt{3627, ">-Bnode '%s' doesnt have any >-CPTable"};
inline constexpr ErrDef LearnMethodArg{
    5702, "argument 'method' is %d, but it should be COUNTING_LEARNING, EM_LEARNING or "
          "GRADIENT_ASCENT_LEARNING"};
inline constexpr ErrDef MaxItersArg{
    5703, "argument 'max_iters' is %d, but it should be 1 or more (or -1 to query)"};
inline constexpr ErrDef MaxTolArg{
    5704, "argument 'log_likelihood_tol' is %g, but it should be above 0 (or -1 to query)"};
inline constexpr ErrDef ThreadsArg{
    5705, "argument 'threads' is %d, but it should be between 1 and 256 inclusive (or -1 to query)"};
inline constexpr ErrDef LearnDegreeArg{5706, "argument 'degree' is %g, but it should be above 0"};
inline constexpr ErrDef OptionsArg{5707, "argument 'options' should be empty or NULL (it is '%.80s')"};
inline constexpr ErrDef NodesOfTwoNets{
    5708, "the >-node-s passed are not all in the same >-net ('%s' is in '%s', not '%s')"};
inline constexpr ErrDef TesterNodeNotTested{
    5709, ">-Bnode '%s' is not one of the test >-node-s of this net tester"};
inline constexpr ErrDef ConfusionStateArg{
    5710, "argument '%s' is %d, but it should be between 0 and %d inclusive, for >-Bnode '%s'"};
inline constexpr ErrDef TestsArg{5711, "argument 'tests' is %d, but it should be -1 with this version of >-Quorva"};
inline constexpr ErrDef TesterNetChanged{
    3631, "the >-net of this net tester has had >-node-s deleted since the tester was made"};

// Preparing a node's table for learning.
inline constexpr ErrDef LearnContinuous{
    3059, "can't make a >-CPTable because it is a continuous variable which hasn't been discretized"};
inline constexpr ErrDef LearnTooLarge{
    3625, "can't create >-CPTable for >-node '%s', because the >-CPTable would be too large (%g), due "
          "to too many parent >-node-s"};
inline constexpr ErrDef ExperNotUniform{
    3626, "before learning starts (i.e. CPTs are absent), experience table must be absent or all its "
          "values must be the same"};
inline constexpr ErrDef SomeProbsMissing{
    2473, "can't learn revised >-CPTable, because some probabilities in >-CPTable are already present, "
          "and some aren't"};
inline constexpr ErrDef NoExperience{
    2474, "can't learn revised >-CPTable, because >-node already has a >-CPTable but not its confidence "
          "(experience).  Provide experience values or remove existing >-CPTable before doing this "
          "operation"};
// The failure of a preparation, labelled with the node (the number is the preparation's).
inline constexpr const char* FOR_NODE = "for >-node %s, %s";

// Revising.
inline constexpr ErrDef Unlearn{
    2190, "attempt to unlearn (degree = %g) more cases than were learned, for >-node '%s'"};
inline constexpr ErrDef UnlearnFile{
    2189, "attempt to unlearn (degree = %g) more cases than were learned, for >-node '%s' (at case %lld), "
          "reading file '%s'"};
inline constexpr ErrDef NoFamilyCases{
    3384, "can't learn the CPTs using counting-learning, because for none of the requested nodes is there "
          "case information for the node and all its parents"};
inline constexpr ErrDef LearnHalted{
    3385, "Only %d cases were processed before action was halted (%2.0f%%).\n"};

// The learner and the tester.
inline constexpr ErrDef GradientNotAvailable{
    3386, "gradient ascent learning is not available in this version of >-Quorva; use "
          "COUNTING_LEARNING or EM_LEARNING"};
inline constexpr ErrDef NoCasesToLearn{3387, "the >-caseset has no cases to learn from"};
inline constexpr ErrDef LearnImpossibleCases{
    3388, "%lld cases are impossible according to the >-net being learned, so they were skipped"};
inline constexpr ErrDef EmHalted{
    3389, "learning by EM was halted during iteration %d, so the CPTs are left as they were"};
inline constexpr ErrDef TestHalted{3391, "testing the >-net was halted, so its scores are left as they were"};

}  // namespace quorva::err
