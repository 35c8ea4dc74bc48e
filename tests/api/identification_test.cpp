// One-to-many search in its four forms.
#include <gtest/gtest.h>

#include <algorithm>
#include <atomic>
#include <climits>
#include <thread>

#include "support/guarded_buffer.h"
#include "support/made_templates.h"
#include "support/matcher_calls.h"
#include "support/matcher_fixture.h"

namespace {

using calls::Answer;
using calls::Identify;
using calls::Template;
using made::Bytes;
using made::FieldAt;
using made::With;

constexpr Answer nobody = {VXM_OK, 0, -1};

Answer Found(int index) { return {VXM_OK, 0, index}; }

class IdentificationTest : public MatcherTest {
 protected:
  void SetType(int type) { ASSERT_EQ(VXM_SetTemplateType(matcher, type), VXM_OK); }
};

// A touch whose templateAttribute is as given.
Bytes TouchOf(int type, uint64_t finger, uint64_t impression, int attribute = 32) {
  Bytes bytes = made::Touch(type, finger, impression);
  return With(bytes, type == TEMPLATE_NATIVE ? 4 : bytes.size() - 1, attribute);
}

// Galleries as texts: M the probe's mate, i an impostor, 0 a null entry, b an
// invalid template, s one too short for its attribute, w a template of another
// format. All have the same attribute, so that they are tried in this order; a
// missing one puts its candidate last.
TEST_F(IdentificationTest, WhatIsNoCandidateIsPassedOverOrEndsTheSearch) {
  const Bytes probe = TouchOf(TEMPLATE_NATIVE, 1, 1);
  const Bytes mate = TouchOf(TEMPLATE_NATIVE, 1, 2);
  const Bytes impostor = TouchOf(TEMPLATE_NATIVE, 2, 1);
  const Bytes broken = With(mate, 1, 0);
  const Bytes brief(mate.begin(), mate.begin() + 4);
  const Bytes wrong = made::Touch(TEMPLATE_ANSI378, 1, 2);  // its byte 4 is 32
  const auto candidate = [&](char c) -> Template {
    switch (c) {
      case 'M': return mate;
      case 'b': return broken;
      case 's': return brief;
      case 'w': return wrong;
      case '0': return {nullptr, 100};
      default: return impostor;
    }
  };
  const Answer wrongType = {VXM_ERR_TEMPLATE_TYPE, 0, -1};
  const struct {
    const char* gallery;
    Answer one, two;  // threads
  } cases[] = {
      {"", nobody, nobody},        {"0", nobody, nobody},        {"00M", Found(2), Found(2)},
      {"0M0", Found(1), Found(1)}, {"b", nobody, nobody},        {"bM", Found(1), Found(1)},
      {"Mb", Found(0), Found(0)},  {"s", nobody, nobody},        {"sM", Found(1), Found(1)},
      {"w", wrongType, wrongType}, {"wM", wrongType, wrongType}, {"Mw", Found(0), Found(0)},
      {"iw", wrongType, nobody},   {"iwM", wrongType, Found(2)}, {"iiw", wrongType, wrongType},
  };
  for (const auto& c : cases) {
    std::vector<Template> gallery;
    for (const char* letter = c.gallery; *letter != '\0'; letter++) {
      gallery.push_back(candidate(*letter));
    }
    for (const calls::IdentifyForm& form : calls::identifyForms) {
      if (form.inBuffer && std::string(c.gallery).find('0') != std::string::npos) continue;
      EXPECT_EQ(Identify(form, matcher, probe, gallery), form.twoThreads ? c.two : c.one)
          << form.name << " \"" << c.gallery << '"';
    }
  }
}

// A record that is cut after its minutiae matches, but has no attribute. The shorter
// ones could be of another format, too.
TEST_F(IdentificationTest, WhatIsCutIsPassedOver) {
  for (const int type : made::allTypes) {
    SetType(type);
    const Bytes mate = TouchOf(type, 1, 2);
    const int whole = static_cast<int>(mate.size());
    for (int size = -2; size < whole; size += size == 30 ? whole - 38 : 1) {
      const Template cut(mate.data(), size);
      for (const calls::IdentifyForm& form : calls::identifyForms) {
        SCOPED_TRACE(testing::Message() << form.name << ' ' << type << " size " << size);
        EXPECT_EQ(Identify(form, matcher, mate, {cut}), nobody);
        EXPECT_EQ(Identify(form, matcher, mate, {cut, mate}), Found(1));
      }
    }
  }
}

TEST_F(IdentificationTest, TypesOfProbeAndCandidateMustFit) {
  for (const int type : made::allTypes) {
    SetType(type);
    for (const int probeType : made::allTypes) {
      for (const int candidateType : made::allTypes) {
        const bool fit = probeType == type && candidateType == type;
        for (const calls::IdentifyForm& form : calls::identifyForms) {
          EXPECT_EQ(
              Identify(form, matcher, TouchOf(probeType, 1, 1), {TouchOf(candidateType, 1, 2)}),
              fit ? Found(0) : (Answer{VXM_ERR_TEMPLATE_TYPE, 0, -1}))
              << form.name << ' ' << type << ' ' << probeType << ' ' << candidateType;
        }
      }
    }
  }
  // Another type works as native; a probe must be valid.
  SetType(1234);
  const Bytes probe = TouchOf(TEMPLATE_NATIVE, 1, 1);
  for (const calls::IdentifyForm& form : calls::identifyForms) {
    EXPECT_EQ(Identify(form, matcher, probe, {probe}), Found(0));
    EXPECT_EQ(Identify(form, matcher, With(probe, 1, 0), {probe}),
              (Answer{VXM_ERR_INVALID_PARAMETERS, 0, -1}));
  }
}

TEST_F(IdentificationTest, NullAndCounts) {
  const Bytes probe = TouchOf(TEMPLATE_NATIVE, 1, 1);
  const uint8_t* templates[] = {probe.data(), nullptr};
  const uint8_t* noTemplates[] = {nullptr};
  const int size = static_cast<int>(probe.size());
  calls::Set(matcher, VXM_PARAM_RETRY_TURNED, 1);
  for (const calls::IdentifyForm& form : calls::identifyForms) {
    SCOPED_TRACE(form.name);
    int index = 5;
    const auto run = [&](int missing, int count) {
      return form.function(missing == 0 ? nullptr : matcher, missing == 1 ? nullptr : probe.data(),
                           size, missing == 2 ? nullptr : templates, missing == 3 ? nullptr : &size,
                           count, 0, missing == 4 ? nullptr : &index);
    };
    for (int missing = 0; missing < 5; missing++) {
      EXPECT_EQ(run(missing, 1), VXM_ERR_INVALID_PARAMETERS) << missing;
      EXPECT_EQ(index, 5) << missing;
    }
    for (const int count : {0, -1, INT_MIN}) {
      index = 5;
      EXPECT_EQ(run(-1, count), VXM_OK) << count;
      EXPECT_EQ(index, -1) << count;
    }
    if (!form.inBuffer) continue;
    index = 5;
    EXPECT_EQ(form.function(matcher, probe.data(), size, noTemplates, &size, 1, 0, &index),
              VXM_ERR_INVALID_PARAMETERS);
    EXPECT_EQ(index, 5);
    EXPECT_EQ(form.function(matcher, probe.data(), size, noTemplates, &size, 0, 0, &index), VXM_OK);
    EXPECT_EQ(index, -1);
  }
}

// All candidates match; the first that is tried is reported.
TEST_F(IdentificationTest, ClosestAttributesAreTriedFirst) {
  const struct {
    std::vector<int> attributes;  // the probe's is 100
    int first;
  } cases[] = {
      {{130, 90, 99}, 2}, {{90, 110}, 0}, {{110, 90}, 0}, {{0, 255, 100}, 2}, {{255, 0}, 1},
  };
  for (const int type : made::allTypes) {
    SetType(type);
    for (const auto& c : cases) {
      std::vector<Bytes> mates;
      for (const int attribute : c.attributes) mates.push_back(TouchOf(type, 1, 2, attribute));
      const std::vector<Template> gallery(mates.begin(), mates.end());
      EXPECT_EQ(Identify(calls::identifyForms[0], matcher, TouchOf(type, 1, 1, 100), gallery),
                Found(c.first))
          << type << ' ' << testing::PrintToString(c.attributes);
    }
  }
  // Many of equal key keep the caller's order.
  const Bytes impostor = TouchOf(TEMPLATE_NATIVE, 2, 1);
  const Bytes mate = TouchOf(TEMPLATE_NATIVE, 1, 2);
  SetType(TEMPLATE_NATIVE);
  std::vector<Template> gallery(200, impostor);
  std::fill(gallery.begin() + 77, gallery.end(), Template(mate));
  EXPECT_EQ(Identify(calls::identifyForms[0], matcher, TouchOf(TEMPLATE_NATIVE, 1, 1), gallery),
            Found(77));
}

TEST_F(IdentificationTest, OverLongCandidatesInABufferAreCut) {
  const Bytes probe = TouchOf(TEMPLATE_NATIVE, 1, 1);
  Bytes shorter = TouchOf(TEMPLATE_NATIVE, 1, 2);
  shorter.resize(1024);  // bytes behind a template do not count
  Bytes padded = shorter;
  padded.resize(3000, 0xFF);
  vxmsynth::ImpressionSettings large;
  large.gridWidth = large.gridHeight = 30;
  const Bytes cut = With(made::Touch(TEMPLATE_NATIVE, 1, 2, large), 4, 32);
  ASSERT_GT(cut.size(), 1024u);
  calls::Set(matcher, VXM_PARAM_FAST_MODE, 0);
  for (const calls::IdentifyForm& form : calls::identifyForms) {
    SCOPED_TRACE(form.name);
    EXPECT_EQ(Identify(form, matcher, probe, {padded, shorter}), Found(0));
    EXPECT_EQ(Identify(form, matcher, probe, {With(padded, 1, 0), shorter}), Found(1));
    EXPECT_EQ(Identify(form, matcher, probe, {cut, {shorter.data(), -5}, shorter}),
              Found(form.inBuffer ? 2 : 0));
  }
}

// Far more comparisons than the limit, or the other thread, leaves time for.
TEST_F(IdentificationTest, TimeLimitAndAbortEndTheSearch) {
  const Bytes probe = TouchOf(TEMPLATE_NATIVE, 1, 1);
  const Bytes impostor = TouchOf(TEMPLATE_NATIVE, 2, 1);
  const Bytes mate = TouchOf(TEMPLATE_NATIVE, 1, 2);
  const std::vector<Template> gallery(500000, impostor);
  for (const calls::IdentifyForm& form : calls::identifyForms) {
    if (form.inBuffer) continue;
    EXPECT_EQ(Identify(form, matcher, probe, gallery, 1), (Answer{VXM_ERR_MATCH_TIMEOUT, 0, -1}))
        << form.name;
    // An abort before the search is none.
    EXPECT_EQ(VXM_AbortIdentify(matcher), VXM_OK);
    EXPECT_EQ(Identify(form, matcher, probe, {impostor, mate}), Found(1)) << form.name;
    std::atomic<bool> ended{false};
    std::thread aborting([&] {
      while (!ended) VXM_AbortIdentify(matcher);
    });
    EXPECT_EQ(Identify(form, matcher, probe, gallery), (Answer{VXM_ERR_MATCH_ABORTED, 0, -1}));
    ended = true;
    aborting.join();
  }
}

// On one thread ISO records that cannot be compared are passed over without a look
// at the clock.
TEST_F(IdentificationTest, EmptyIsoRecordsTakeNoTime) {
  SetType(TEMPLATE_ISO19794_2);
  const Bytes empty = made::Encode(made::Plain(9, 9, {}), TEMPLATE_ISO19794_2);
  const std::vector<Template> gallery(200000, empty);
  for (const calls::IdentifyForm& form : calls::identifyForms) {
    EXPECT_EQ(Identify(form, matcher, empty, gallery, 1),
              form.twoThreads ? (Answer{VXM_ERR_MATCH_TIMEOUT, 0, -1}) : nobody)
        << form.name;
  }
}

// However the calling thread's half ends, the worker ends with it: far down in its
// own half lies a candidate that may not be touched.
TEST_F(IdentificationTest, TheWorkerDoesNotGoOnAlone) {
  const GuardedBuffer guarded(1);
  const Bytes probe = TouchOf(TEMPLATE_NATIVE, 1, 1);
  const Bytes impostor = TouchOf(TEMPLATE_NATIVE, 2, 1);
  std::vector<Template> gallery(200000, impostor);
  // Too short for its attribute, so that it is the last and not looked at before.
  gallery.push_back({guarded.End(), 4});
  gallery.insert(gallery.begin(), impostor);
  const struct {
    Bytes first;
    unsigned timeout;
    Answer expected;
  } cases[] = {
      {TouchOf(TEMPLATE_NATIVE, 1, 2), 0, Found(0)},
      {made::Touch(TEMPLATE_ANSI378, 1, 2), 0, {VXM_ERR_TEMPLATE_TYPE, 0, -1}},
      {impostor, 1, {VXM_ERR_MATCH_TIMEOUT, 0, -1}},
  };
  for (const auto& c : cases) {
    gallery[0] = c.first;
    EXPECT_EQ(Identify(calls::identifyForms[1], matcher, probe, gallery, c.timeout), c.expected);
  }
}

// Several matchers search at once in all forms and are aborted at any moment,
// thousands of times: each search ends as it should, or as aborted.
TEST(IdentificationThreadsTest, AbortsAtAnyMoment) {
  EXPECT_EQ(VXM_AbortIdentify(nullptr), VXM_ERR_INVALID_PARAMETERS);
  const Bytes probe = TouchOf(TEMPLATE_NATIVE, 1, 1);
  const Bytes mate = TouchOf(TEMPLATE_NATIVE, 1, 2);
  const Bytes impostor = TouchOf(TEMPLATE_NATIVE, 2, 1);
  std::vector<Template> gallery(8, impostor);
  gallery.push_back(mate);
  std::atomic<int> aborted{0};
  const auto search = [&] {
    MatcherHandle matcher = nullptr;
    EXPECT_EQ(VXM_Create(&matcher), VXM_OK);
    std::atomic<bool> ended{false};
    std::thread aborting([&] {
      for (int pause = 0; !ended; pause = (pause + 37) % 400) {
        std::this_thread::sleep_for(std::chrono::microseconds(pause));
        EXPECT_EQ(VXM_AbortIdentify(matcher), VXM_OK);
      }
    });
    for (int round = 0; round < 1000; round++) {
      const Answer answer = Identify(calls::identifyForms[round % 4], matcher, probe, gallery);
      aborted += answer.status == VXM_ERR_MATCH_ABORTED ? 1 : 0;
      EXPECT_TRUE(answer == Found(8) || answer == (Answer{VXM_ERR_MATCH_ABORTED, 0, -1}))
          << testing::PrintToString(answer);
    }
    ended = true;
    aborting.join();
    EXPECT_EQ(VXM_Delete(matcher), VXM_OK);
  };
  std::thread others[] = {std::thread(search), std::thread(search)};
  search();
  for (std::thread& other : others) other.join();
  EXPECT_GT(aborted, 0);
}

}  // namespace
