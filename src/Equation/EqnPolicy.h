// The error policy of the special functions and distributions used by equations: a value outside
// a domain comes back as NaN (which the evaluator turns into the invalid result), never as a
// thrown exception or a change of errno.
#pragma once
#include <boost/math/policies/policy.hpp>

namespace quorva::eqnfn {

namespace bmp = boost::math::policies;
using EqnPolicy =
    bmp::policy<bmp::domain_error<bmp::ignore_error>, bmp::pole_error<bmp::ignore_error>,
                bmp::overflow_error<bmp::ignore_error>, bmp::underflow_error<bmp::ignore_error>,
                bmp::evaluation_error<bmp::ignore_error>, bmp::rounding_error<bmp::ignore_error>,
                bmp::promote_double<false>>;

}  // namespace quorva::eqnfn
