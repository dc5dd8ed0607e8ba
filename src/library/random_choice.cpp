#include "library/random_choice.h"

#include "core/messages.h"
#include "core/session_state.h"
#include "core/values.h"
#include "library/library.h"
#include "transport/stop_pause.h"

#include <cmath>
#include <random>

namespace mv {

namespace {

class MtRandom final : public RandomSource {
  public:
    void randomize(int64_t seed) override { gen_.seed(uint64_t(seed)); }
    double next() override { return std::uniform_real_distribution<double>(0.0, 1.0)(gen_); }

  private:
    std::mt19937_64 gen_{5489u};
};

// Selects entry `i` of the song list as code does: loads nothing; an entry
// the list does not have is refused.
void selectEntry(Session& s, int i) {
    if (i < 0 || i >= s.velmor.File1List.get().size()) throw failures::invalidProperty();
    s.velmor.File1ListIndex.set(i);
}

} // namespace

std::unique_ptr<RandomSource> makeRandomSource() { return std::make_unique<MtRandom>(); }

void clearPlayedList(Session& s) {
    s.velmor.PlayedList.clear();
    s.messages.msgBox(QStringLiteral("Already Played list is now clear."));
}

void selectRandom(Session& s, RandomSource& random) {
    stopForRandomChoice(s);
    SelR(s, random);
}

void SelR(Session& s, RandomSource& random) {
    VelmorState& v = s.velmor;
    try {
        random.randomize(s.clock.tickMs());
        v.SuppressLoad = kTrue;
        int range = int(v.File1List.get().size()) - 1;
        if (v.IgnZ.get() == 1) range -= v.ZCount;
        QString name;
        for (int round = 1;; ++round) {
            // List clicks may come in here; SuppressLoad stops them early.
            s.pump.letEventsRun();
            if (round > 1000) {
                s.messages.msgBox(QStringLiteral("Please clear the played list. "));
                v.SuppressLoad = 0;
                return;
            }
            const int pick = int(std::floor(random.next() * range)) + 1;
            selectEntry(s, pick);
            name = v.File1FileName();
            if (v.IgnZ.get() == 1 && name.startsWith(u'Z')) continue;
            if (v.IgnX.get() == 1 && name.startsWith(u'X')) continue;
            if (name.toUpper().contains(QLatin1String("MIX"))) continue;
            if (v.PlayedList.contains(name + u',')) continue;
            break;
        }
        v.SuppressLoad = 0;
        if (s.File1_MouseDown) s.File1_MouseDown(1, 0, 0, 0);
        v.PlayedList += name + u',';
    } catch (const Failure& f) {
        v.SuppressLoad = 0;
        s.messages.msgBox(f.message());
    }
}

} // namespace mv
