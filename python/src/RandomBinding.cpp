// quorva.Random: seeded random generators of the engine, a net's own generator, and the
// generator an operation that draws may be given for one call.
#include <climits>

#include "PyEngine.h"

namespace quorva::py {

RandomGen::~RandomGen() {
  if (gen) DeleteRandomGen_vq(gen);
}

namespace {

class Random {
 public:
  explicit Random(std::shared_ptr<RandomGen> gen) : gen_(std::move(gen)) {}

  // `seed`: a whole number 0 to 10^18 - 1, a state string, or None (the clock).
  static Random make(const pb::object& seed) {
    std::string text;
    if (!seed.is_none()) {
      if (pb::isinstance<pb::bool_>(seed) || !(pb::isinstance<pb::str>(seed) || PyIndex_Check(seed.ptr())))
        throw pb::type_error("a seed is a whole number, a state string or None");
      text = pb::str(seed).cast<std::string>();
    }
    randgen_vq* gen = NewRandomGenerator_vq(seed.is_none() ? nullptr : text.c_str(), processEnv(), nullptr);
    check(processEnv());
    return Random(std::make_shared<RandomGen>(gen));
  }

  const std::shared_ptr<RandomGen>& gen() const { return gen_; }

  std::string state() const {
    const char* text = GetRandomGenState_vq(gen_->gen, nullptr);
    check(processEnv());
    return text ? text : "";
  }

  // One number in [0, 1), or an array of `size` of them.
  pb::object draw(const pb::object& size) const {
    if (size.is_none()) {
      double x = 0;
      GenerateRandomNumbers_vq(gen_->gen, &x, 1, nullptr);
      check(processEnv());
      return pb::float_(x);
    }
    const long long count = size.cast<long long>();
    if (count < 0 || count > INT_MAX) throw pb::value_error("size is 0 to 2**31 - 1");
    pb::array_t<double> out(static_cast<pb::ssize_t>(count));
    if (count > 0) GenerateRandomNumbers_vq(gen_->gen, out.mutable_data(), static_cast<int>(count), nullptr);
    check(processEnv());
    return pb::object(std::move(out));
  }

 private:
  std::shared_ptr<RandomGen> gen_;
};

// The generator the net draws from without a `random` argument: its own, else the default.
void restoreNetGen(net_bn* net, const NetState& state) {
  SetNetRandomGen_bn(net, state.random ? state.random->gen : nullptr, 0);
}

}  // namespace

std::shared_ptr<RandomGen> randomOf(const pb::object& random) {
  if (random.is_none()) return nullptr;
  if (!pb::isinstance<Random>(random)) throw pb::type_error("random is a quorva.Random or None");
  return random.cast<const Random&>().gen();
}

NetRandomScope::NetRandomScope(const Net& net, const pb::object& random) : net_(net), used_(randomOf(random)) {
  if (!used_) return;
  SetNetRandomGen_bn(net.get(), used_->gen, 0);
  check(processEnv());
}

NetRandomScope::~NetRandomScope() {
  if (!used_ || !net_.alive()) return;
  restoreNetGen(net_.get(), *net_.state());
  ClearErrors_vq(processEnv(), INTERNAL_ERR);
}

void bindRandom(pb::module_& m) {
  pb::class_<Random>(m, "Random",
                     "A random generator of the engine: the same seed gives the same draws, and the state\n"
                     "text continues a sequence where it was taken.  Give it to a net (net.random = r) or to\n"
                     "one call that draws (random=r).  Use it from one thread at a time.")
      .def(pb::init(&Random::make), pb::arg("seed") = pb::none(),
           "A generator seeded by `seed` (a whole number of at most 18 digits; 0 gives the sequence of\n"
           "the engine's default generator), a state text, or the clock when None.")
      .def_static(
          "from_state", [](const std::string& state) { return Random::make(pb::str(state)); }, pb::arg("state"),
          "A generator that continues the sequence whose `state` text was taken.")
      .def_property_readonly("state", &Random::state, "The state as text (from_state continues from it).")
      .def("random", &Random::draw, pb::arg("size") = pb::none(),
           "A number in [0, 1), or a numpy array of `size` of them.")
      .def("__copy__", [](const Random& r) { return Random::make(pb::str(r.state())); })
      .def("__deepcopy__", [](const Random& r, const pb::object&) { return Random::make(pb::str(r.state())); })
      .def(pb::pickle([](const Random& r) { return pb::make_tuple(r.state()); },
                      [](const pb::tuple& t) { return Random::make(pb::str(t[0])); }))
      .def(
          "__eq__", [](const Random& a, const Random& b) { return a.gen() == b.gen(); }, pb::is_operator())
      .def("__hash__", [](const Random& r) { return std::hash<const void*>()(r.gen().get()); })
      .def("__repr__", [](const Random&) { return std::string("<quorva.Random>"); });

  addProperty(
      m, "Net", "random",
      [](const Net& net) -> pb::object {
        net.get();
        if (!net.state()->random) return pb::none();
        return pb::cast(Random(net.state()->random));
      },
      [](const Net& net, const pb::object& random) {
        std::shared_ptr<RandomGen> gen = randomOf(random);
        SetNetRandomGen_bn(net.get(), gen ? gen->gen : nullptr, 0);
        check(processEnv());
        net.state()->random = std::move(gen);
      },
      "The net's own generator (a quorva.Random, shared, not copied), or None for the engine's\n"
      "default.  Operations that draw without a seed or `random` argument draw from it.");
}

}  // namespace quorva::py
