#include "contender.h"

const std::vector<const Contender*>& AllContenders() {
    static const std::vector<const Contender*> all = {&kQDLog, &kFloor,    &kSpdlog,
                                                      &kGlog,  &kBoostLog, &kFprintf};
    return all;
}

const Contender* FindContender(const std::string& name) {
    for (const Contender* c : AllContenders())
        if (name == c->name) return c;
    return nullptr;
}
