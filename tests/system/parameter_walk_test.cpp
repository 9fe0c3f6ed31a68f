// Every parameter of every software camera as an application meets it: all nine attributes, the
// lists, and what setting it does.
#include <gtest/gtest.h>
#include <string>

#include "orvex/orvex.h"

#include "parameter_expectations.h"
#include "parameter_trials.h"
#include "walked_camera.h"

namespace {

using expected::Answers;
using expected::Anything;
using expected::Cell;
using expected::Fail;
using expected::RowOf;

struct Attribute {
    int16 id;
    const char* name;
};
// In the order of the cells of a row.
constexpr std::array<Attribute, 6> value_attributes{{{ATTR_CURRENT, "current"},
                                                     {ATTR_COUNT, "count"},
                                                     {ATTR_MIN, "min"},
                                                     {ATTR_MAX, "max"},
                                                     {ATTR_DEFAULT, "default"},
                                                     {ATTR_INCREMENT, "increment"}}};

const char* NameOf(uns32 id) {
    switch (id) {
#define NAME_OF_PARAMETER(name, value) \
    case name: return #name;
        ORVEX_PARAMS(NAME_OF_PARAMETER)
#undef NAME_OF_PARAMETER
        default: return "no parameter";
    }
}

bool IsRecord(uns32 id) {
    return id == PARAM_TIDAL_STREAM_EXP_PARAMS;
}

std::string Describe(const Cell& cell) {
    if (const auto* failure = std::get_if<Fail>(&cell)) {
        return "error " + std::to_string(failure->code);
    }
    if (const auto* words = std::get_if<const char*>(&cell)) return *words;
    if (std::holds_alternative<Anything>(cell)) return "anything";
    return std::to_string(std::get<double>(cell));
}

void ExpectCell(const WalkedCamera& camera, uns32 id, Attribute attribute, int type,
                const Cell& cell) {
    const Reading reading(camera.handle(), id, attribute.id);
    const int stored = attribute.id == ATTR_COUNT ? TYPE_UNS32 : type;
    EXPECT_EQ(reading.Describe(stored),
              std::holds_alternative<Anything>(cell) ? reading.Describe(stored) : Describe(cell))
        << NameOf(id) << ", " << attribute.name;
    EXPECT_EQ(reading.succeeded(), !std::holds_alternative<Fail>(cell)) << NameOf(id);
    if (reading.succeeded()) {
        EXPECT_TRUE(reading.KeptTheRest(stored)) << NameOf(id) << ", " << attribute.name;
    }
}

void ExpectAnswers(const WalkedCamera& camera, uns32 id, int type, const Answers& answers) {
    if (answers.nothing) {
        for (int16 attribute = ATTR_CURRENT; attribute <= ATTR_AVAIL; ++attribute) {
            EXPECT_EQ(Reading(camera.handle(), id, attribute).Describe(TYPE_UNS16), "error 0")
                << NameOf(id) << ", attribute " << attribute;
        }
        return;
    }
    ExpectCell(camera, id, {ATTR_TYPE, "type"}, TYPE_UNS16, double(type));
    ExpectCell(camera, id, {ATTR_ACCESS, "access"}, TYPE_UNS16, double(answers.access));
    ExpectCell(camera, id, {ATTR_AVAIL, "avail"}, TYPE_UNS16, double(answers.available));
    if (IsRecord(id) && answers.available) return;
    for (size_t i = 0; i < value_attributes.size(); ++i) {
        ExpectCell(camera, id, value_attributes[i], type, answers.cells[i]);
    }
}

// A shape that is the same on all models.
Answers AllOn(const expected::Shape& shape) {
    return expected::Row{0, 0, expected::all, shape}.On(0);
}

class ParameterWalk : public testing::TestWithParam<size_t> {
  protected:
    std::string model() const { return expected::models[GetParam()]; }
    Answers AnswersOf(const expected::Row& row) const { return row.On(GetParam()); }
};

INSTANTIATE_TEST_SUITE_P(Models, ParameterWalk, testing::Range<size_t>(0, expected::models.size()),
                         [](const auto& model) { return expected::models[model.param]; });

TEST_P(ParameterWalk, AnswersEveryAttribute) {
    const WalkedCamera camera(model());
    for (const expected::Row& row : expected::rows()) {
        ExpectAnswers(camera, row.id, row.type, AnswersOf(row));
    }
}

TEST_P(ParameterWalk, ListsEnumerations) {
    const WalkedCamera camera(model());
    for (const expected::Enumeration& enumeration : expected::enumerations) {
        if ((enumeration.models & 1u << GetParam()) == 0) continue;
        SCOPED_TRACE(NameOf(enumeration.id));
        const auto entries = enumeration.Entries();
        const auto count = static_cast<uns32>(entries.size());
        for (uns32 i = 0; i < count; ++i) {
            const auto& [wanted, words] = entries[i];
            int32 value = -1;
            char text[64];
            std::memset(text, '#', sizeof text);
            ASSERT_EQ(ox_get_enum_param(camera.handle(), enumeration.id, i, &value, text, 64), 1);
            EXPECT_EQ(value, wanted);
            EXPECT_EQ(text, words);
            uns32 length = 0;
            ASSERT_EQ(ox_enum_str_length(camera.handle(), enumeration.id, i, &length), 1);
            EXPECT_EQ(length, words.size() + 1);
            // A text that doesn't fit is cut without complaint.
            ASSERT_EQ(ox_get_enum_param(camera.handle(), enumeration.id, i, &value, text, 3), 1);
            EXPECT_EQ(text, words.substr(0, 2));
        }
        int32 value = 0;
        char text[64];
        EXPECT_EQ(ox_get_enum_param(camera.handle(), enumeration.id, count, &value, text, 64), 0);
        EXPECT_EQ(ox_error_code(), C2_INDEX_OUT_OF_RANGE);
    }
}

TEST_P(ParameterWalk, RefusesWhatCannotBeSet) {
    const WalkedCamera camera(model());
    for (const expected::Row& row : expected::rows()) {
        const Answers answers = AnswersOf(row);
        if (answers.nothing) {
            EXPECT_EQ(camera.Set(row.id, row.type, 1), 0) << NameOf(row.id);
        } else if (!answers.available) {
            EXPECT_EQ(camera.Set(row.id, row.type, 1), C2_NOT_AVAILABLE) << NameOf(row.id);
        } else if (answers.access == ACC_READ_ONLY || answers.access == ACC_EXIST_CHECK_ONLY) {
            EXPECT_EQ(camera.Set(row.id, row.type, 1), C2_FAILED_TO_SET_VALUE) << NameOf(row.id);
        }
    }
}

TEST_P(ParameterWalk, TakesLegalValuesAndRefusesOthers) {
    const WalkedCamera camera(model());
    for (const expected::Trial& trial : expected::trials) {
        if ((trial.models & 1u << GetParam()) == 0) continue;
        const int type = RowOf(trial.id).type;
        const auto set = [&](double value, int16 error, const Cell& read) {
            SCOPED_TRACE(std::string(NameOf(trial.id)) + " = " + std::to_string(value));
            EXPECT_EQ(camera.Set(trial.id, type, value), error);
            ExpectCell(camera, trial.id, value_attributes[0], type, read);
        };
        for (const double value : trial.taken) set(value, 0, value);
        for (const double value : trial.others) {
            set(value, trial.error, trial.read ? *trial.read : Cell(trial.taken.back()));
        }
    }
}

// A camera tells that its MPP can be chosen after its lists were made, so that the modes are there
// from the second open on.
TEST(ParameterSets, MppModesComeWithTheSecondOpen) {
    WalkedCamera camera("ccd");
    camera.Reopen();
    ExpectAnswers(camera, PARAM_PMODE, TYPE_ENUM, AllOn(expected::list(2, 1, 4, 1, 7, 1)));
    int32 value = 0;
    char text[64] = {};
    ASSERT_EQ(ox_get_enum_param(camera.handle(), PARAM_PMODE, 2, &value, text, 64), 1);
    EXPECT_EQ(value, 3);
    EXPECT_STREQ(text, "Frame Transfer with MPP");
}

TEST_P(ParameterWalk, SetupBringsItsParametersAndSomeSettingsVoidIt) {
    const WalkedCamera camera(model());
    ASSERT_TRUE(camera.SetUp());
    // Two frames of 8 x 4 pixels after binning; a buffer ends at the last whole frame below 2 GiB.
    ExpectAnswers(camera, PARAM_FRAME_BUFFER_SIZE, TYPE_UNS64,
                  {1, 1, {128., 0., 128., 2147475456., 128., 64.}});
    ExpectCell(camera, PARAM_EXPOSURE_TIME, value_attributes[0], TYPE_UNS64, 25.);
    if (model() == "cmos") {
        ExpectCell(camera, PARAM_BINNING_SER, value_attributes[0], TYPE_ENUM, 1.);
        ExpectCell(camera, PARAM_BINNING_PAR, value_attributes[0], TYPE_ENUM, 2.);
        // Two clears, each a tenth of reading 2048 rows at 10 us.
        ExpectAnswers(camera, PARAM_CLEARING_TIME, TYPE_INT64, AllOn(expected::fixed(4096000)));
        ExpectAnswers(camera, PARAM_PRE_TRIGGER_DELAY, TYPE_INT64, AllOn(expected::fixed(25000)));
        ExpectAnswers(camera, PARAM_POST_TRIGGER_DELAY, TYPE_INT64, AllOn(expected::fixed(10000)));
    }

    struct Effect {
        uns32 id;
        double value;
        bool voids;
    };
    constexpr Effect effects[] = {
        {PARAM_CLEAR_CYCLES, 2, false},  // what it was
        {PARAM_CLEAR_CYCLES, 3, true},
        {PARAM_CLEAR_MODE, 2, true},
        {PARAM_PMODE, 5, true},
        {PARAM_PMODE, 4, true},
        {PARAM_SHTR_OPEN_MODE, 2, true},
        {PARAM_EXP_RES_INDEX, 0, false},
        {PARAM_EXP_RES_INDEX, 1, true},
        {PARAM_EXP_RES, 1, false},
        {PARAM_PREAMP_OFF_CONTROL, 1, false},
        {PARAM_POSTSCAN, 1, false},
        {PARAM_METADATA_ENABLED, 1, true},
        {PARAM_METADATA_ENABLED, 1, true},
        {PARAM_PP_PARAM, 1, false},
        {PARAM_CENTROIDS_ENABLED, 1, true},
    };
    for (const Effect& effect : effects) {
        const bool takes =
            Reading(camera.handle(), effect.id, ATTR_AVAIL).number(TYPE_UNS16) == 1 &&
            Reading(camera.handle(), effect.id, ATTR_ACCESS).number(TYPE_UNS16) == 2;
        if (!takes) continue;
        SCOPED_TRACE(std::string(NameOf(effect.id)) + " = " + std::to_string(effect.value));
        ASSERT_TRUE(camera.SetUp());
        const bool taken = camera.Set(effect.id, RowOf(effect.id).type, effect.value) == 0;
        const Reading buffer(camera.handle(), PARAM_FRAME_BUFFER_SIZE, ATTR_CURRENT);
        EXPECT_EQ(buffer.succeeded(), !(effect.voids && taken));
    }
}

}  // namespace
