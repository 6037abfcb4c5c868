#pragma once

#include <atomic>
#include <vector>

#if defined(__SSE2__)
#include <emmintrin.h>
#endif
#if defined(__x86_64__)
#include <immintrin.h>
#endif

#include <ostrana/audio/CircularBuffer.h>
#include <ostrana/audio/LFO.h>
#include <ostrana/sdk/AudioBuffer.h>
#include <ostrana/sdk/AudioBusFormat.h>

namespace ostrana::extensions::audioeffects {

// The swept delay line under the chorus, the flanger and the vibrato. Each channel has a ring
// of kLineLength samples; a sine oscillator (amplitude 0.5, offset 0.5, so m lies in [0, 1])
// swings the read position, which for write pointer w and swing d = (m * sweepWidth) * rate is
//
//     p = fmodf((((float)w - d) + (-baseDelay)) + (float)N, (float)N)
//
// formed left to right in single precision and read by the ring's linear interpolation. The
// three effects differ only in the constants of one Effect value (kChorusEffect, kFlangerEffect
// and kVibratoEffect at the end of this file, side by side).
class ModulatedDelayLine {
  public:
    struct Effect {
        float baseDelay;            // samples of delay that the sweep does not move
        bool feedsBack;             // the line receives input + feedback * wet, else the input
        bool writesBeforeReading;   // input written at w before the read, else after it
        bool keepsDry;              // output is wet * wetGain + input, else the wet alone
        bool oscillatorPerChannel;  // one oscillator per channel stepped per sample, else one
                                    // shared oscillator stepped once per frame
        float wetGain;              // gain of the wet signal when the dry signal is kept
        float feedback;             // share of the wet signal written back when feeding back
        float defaultSweepWidth;    // depth of the swing in seconds
        float defaultFrequency;     // oscillator frequency in Hz
    };

    static constexpr int kLineLength = 48000;
    static constexpr float kAmplitude = 0.5f;
    static constexpr float kOffset = 0.5f;

    // How many frames of a channel the line work takes in one step where it can: four (SSE2),
    // or eight on processors with AVX2. Both give the same values, bit for bit.
    enum class Lanes { kFour, kEight };
    // The widest lanes this processor runs.
    static Lanes widestLanes();

    // Runs one block of input.getNumberOfChannels() channels (at least 1, at most the number of
    // lines) and input.getNumberOfFrames() frames into output: frame by frame, and within a
    // frame channel by channel. oscillators holds one oscillator per channel, or the shared
    // one. sweepWidth is loaded afresh for each oscillator step.
    template <Effect kEffect>
    static void render(const AudioBuffer<float>& input, AudioBuffer<float>& output,
                       audio::LFO* oscillators, audio::CircularBuffer* lines,
                       const std::atomic<float>& sweepWidth, float wetGain, float feedback,
                       Lanes lanes = widestLanes()) {
        const Block block{input, output, oscillators, lines, sweepWidth, wetGain, feedback};
        switch (input.getNumberOfChannels()) {
            case 1:
                if (sharesWritePointer(block, 1)) return renderHoisted<kEffect, 1>(block, lanes);
                break;
            case 2:
                if (sharesWritePointer(block, 2)) return renderHoisted<kEffect, 2>(block, lanes);
                break;
            default:
                break;
        }
        renderAnyChannels<kEffect>(block);
    }

    // interpolate(fmodf(position, N)) of the line, for any position: the path for positions
    // outside (0, 2N), kept out of the loops.
    [[gnu::noinline]] static float readWrapped(const audio::CircularBuffer& line, float position);

    // The lines of a node of the given channel capacity, zero-filled.
    static std::vector<audio::CircularBuffer> makeLines(unsigned int numberOfChannels);
    // An oscillator of the given frequency and phase offset, amplitude 0.5, offset 0.5.
    static audio::LFO makeOscillator(float frequency, float phaseOffset);
    // Phase offset of channel i's oscillator: a quarter cycle per channel.
    static float phaseOffsetOf(unsigned int channel);
    // The bus test shared by the three nodes: the formats match and carry fewer than 3 channels.
    static bool acceptsBusFormat(AudioBusFormat& inputBusFormat, AudioBusFormat& outputBusFormat);
    // Clears every line when the block's rate or channel count differs from the previous
    // block's, and records both.
    static void followFormat(unsigned int sampleRate, unsigned int numberOfChannels,
                             unsigned int& lastSampleRate, unsigned int& lastNumberOfChannels,
                             std::vector<audio::CircularBuffer>& lines);

  private:
    struct Block {
        const AudioBuffer<float>& input;
        AudioBuffer<float>& output;
        audio::LFO* oscillators;
        audio::CircularBuffer* lines;
        const std::atomic<float>& sweepWidth;
        float wetGain;
        float feedback;
    };

    // What one channel reads and writes.
    struct Channel {
        audio::CircularBuffer* line;
        float* data;
        const float* input;
        float* output;
    };

    // Where a read position falls in a ring of size slots, as interpolate(fmodf(position, size))
    // takes it. Only positions in (0, 2 * size), the ones that sensible settings produce, are
    // placed: fmodf gives the position itself below size and position - size from size on
    // (exact, since size <= position < 2 * size), and in [+0, size) the floor is a truncation.
    // Zeros, negatives, NaN and the rest are left to readWrapped.
    struct Tap {
        int index;
        int nextIndex;
        float frac;
        bool placed;

        [[gnu::always_inline]] static Tap at(float position, int size, float sizeF) {
            if (!(position > 0.0f && position < 2.0f * sizeF)) return Tap{0, 0, 0.0f, false};
            const float wrapped = position >= sizeF ? position - sizeF : position;
            const int index = static_cast<int>(wrapped);
            const int nextIndex = index + 1 == size ? 0 : index + 1;
            return Tap{index, nextIndex, wrapped - static_cast<float>(index), true};
        }

        // The ring's interpolation between the tap's two slots.
        [[gnu::always_inline]] float mix(const float* data) const {
            return audio::CircularBuffer::mix(data[index], data[nextIndex], frac);
        }
    };

    // The delay's swing in samples for an oscillator value m, with a fresh load of sweepWidth.
    static float swingOf(const Block& block, float m, float rateF) {
        return (m * block.sweepWidth.load(std::memory_order_relaxed)) * rateF;
    }
    static float swingOf(const Block& block, audio::LFO& oscillator, int rate, float rateF) {
        return swingOf(block, oscillator.process(rate), rateF);
    }

    template <Effect kEffect>
    [[gnu::always_inline]] static float positionOf(float writePointer, float swing, float sizeF) {
        return ((writePointer - swing) + (-kEffect.baseDelay)) + sizeF;
    }

    // One sample of one channel, its line written at w and read at the tap (or at position
    // when the tap is not placed).
    template <Effect kEffect>
    [[gnu::always_inline]] static void runChannel(const Channel& channel, unsigned int frame, int w,
                                                  const Tap& tap, float position, float wetGain,
                                                  float feedback) {
        const float x = channel.input[frame];
        if constexpr (kEffect.writesBeforeReading) channel.data[w] = x;
        const float wet = tap.placed ? tap.mix(channel.data) : readWrapped(*channel.line, position);
        if constexpr (!kEffect.writesBeforeReading) {
            if constexpr (kEffect.feedsBack) {
                channel.data[w] = feedback * wet + x;
            } else {
                channel.data[w] = x;
            }
        }
        if constexpr (kEffect.keepsDry) {
            channel.output[frame] = wet * wetGain + x;
        } else {
            channel.output[frame] = wet;
        }
    }

    // Every line is cleared together and stepped together, so the lines of the block's
    // channels share one write pointer; checked all the same before relying on it.
    static bool sharesWritePointer(const Block& block, unsigned int channels) {
        for (unsigned int c = 0; c < channels; ++c) {
            const audio::CircularBuffer& line = block.lines[c];
            if (line.getSize() != kLineLength) return false;
            if (line.getWritePointer() != block.lines[0].getWritePointer()) return false;
        }
        return true;
    }

    // One frame of one channel: its read position from the swing, then its step.
    template <Effect kEffect>
    [[gnu::always_inline]] static void runFrame(const Channel& channel, unsigned int frame, int w,
                                                float swing, float wetGain, float feedback) {
        constexpr float kSizeF = static_cast<float>(kLineLength);
        const float position = positionOf<kEffect>(static_cast<float>(w), swing, kSizeF);
        runChannel<kEffect>(channel, frame, w, Tap::at(position, kLineLength, kSizeF), position,
                            wetGain, feedback);
    }

    // Four consecutive frames of one channel of a kLineLength-sample line at once, lane k
    // being frame + k, written at slot w + k with swings[k]. Each lane performs the single
    // step's operations in the same precision and order, so the values are the same, provided
    // that every read position is placed, the four slots do not wrap, and no lane reads a slot
    // that another lane writes on the other side of it in single steps (see readsClear).
    // Returns false, having touched nothing, when that does not hold.
    template <Effect kEffect>
    [[gnu::always_inline]] static bool runFourFrames(const Channel& channel, unsigned int frame,
                                                     int w, const float* swings, float wetGain,
                                                     float feedback) {
#if defined(__SSE2__)
        constexpr float kSizeF = static_cast<float>(kLineLength);
        if (w > kLineLength - 4) return false;
        const __m128i lanes = _mm_setr_epi32(0, 1, 2, 3);
        const __m128i slots = _mm_add_epi32(_mm_set1_epi32(w), lanes);
        const __m128 size = _mm_set1_ps(kSizeF);
        const __m128 position =
            _mm_add_ps(_mm_add_ps(_mm_sub_ps(_mm_cvtepi32_ps(slots), _mm_loadu_ps(swings)),
                                  _mm_set1_ps(-kEffect.baseDelay)),
                       size);
        const __m128 placed = _mm_and_ps(_mm_cmpgt_ps(position, _mm_setzero_ps()),
                                         _mm_cmplt_ps(position, _mm_set1_ps(2.0f * kSizeF)));
        if (_mm_movemask_ps(placed) != 0xF) return false;
        const __m128 wrapped = _mm_sub_ps(position, _mm_and_ps(_mm_cmpge_ps(position, size), size));
        const __m128i index = _mm_cvttps_epi32(wrapped);
        const __m128 frac = _mm_sub_ps(wrapped, _mm_cvtepi32_ps(index));

        // The common case: four neighbouring slots and their four neighbours, none wrapping, as
        // the swing moves by far less than a sample per frame. Every lane is then the same
        // distance behind its own slot.
        const int first = _mm_cvtsi128_si32(index);
        const __m128i run = _mm_add_epi32(_mm_set1_epi32(first), lanes);
        const bool neighbours =
            _mm_movemask_ps(_mm_castsi128_ps(_mm_cmpeq_epi32(index, run))) == 0xF &&
            first <= kLineLength - 5;
        const __m128i length = _mm_set1_epi32(kLineLength);
        if (neighbours) {
            if (!readsClear<kEffect>(w >= first ? w - first : w - first + kLineLength)) {
                return false;
            }
        } else {
            __m128i behind = _mm_sub_epi32(slots, index);
            behind = _mm_add_epi32(
                behind, _mm_and_si128(_mm_cmplt_epi32(behind, _mm_setzero_si128()), length));
            if (!readsClear<kEffect>(behind)) return false;
        }

        float* data = channel.data;
        const __m128 x = _mm_loadu_ps(channel.input + frame);
        if constexpr (kEffect.writesBeforeReading) _mm_storeu_ps(data + w, x);
        __m128 a;
        __m128 b;
        if (neighbours) {
            a = _mm_loadu_ps(data + first);
            b = _mm_loadu_ps(data + first + 1);
        } else {
            __m128i next = _mm_add_epi32(index, _mm_set1_epi32(1));
            next = _mm_andnot_si128(_mm_cmpeq_epi32(next, length), next);
            alignas(16) int indices[4];
            alignas(16) int nextIndices[4];
            _mm_store_si128(reinterpret_cast<__m128i*>(indices), index);
            _mm_store_si128(reinterpret_cast<__m128i*>(nextIndices), next);
            a = _mm_setr_ps(data[indices[0]], data[indices[1]], data[indices[2]], data[indices[3]]);
            b = _mm_setr_ps(data[nextIndices[0]], data[nextIndices[1]], data[nextIndices[2]],
                            data[nextIndices[3]]);
        }
        const __m128 fracB = _mm_mul_ps(frac, b);
        const __m128d one = _mm_set1_pd(1.0);
        const __m128d low = _mm_add_pd(
            _mm_cvtps_pd(fracB), _mm_mul_pd(_mm_sub_pd(one, _mm_cvtps_pd(frac)), _mm_cvtps_pd(a)));
        const __m128d high =
            _mm_add_pd(_mm_cvtps_pd(_mm_movehl_ps(fracB, fracB)),
                       _mm_mul_pd(_mm_sub_pd(one, _mm_cvtps_pd(_mm_movehl_ps(frac, frac))),
                                  _mm_cvtps_pd(_mm_movehl_ps(a, a))));
        const __m128 wet = _mm_movelh_ps(_mm_cvtpd_ps(low), _mm_cvtpd_ps(high));
        if constexpr (!kEffect.writesBeforeReading) {
            if constexpr (kEffect.feedsBack) {
                _mm_storeu_ps(data + w, _mm_add_ps(_mm_mul_ps(_mm_set1_ps(feedback), wet), x));
            } else {
                _mm_storeu_ps(data + w, x);
            }
        }
        if constexpr (kEffect.keepsDry) {
            _mm_storeu_ps(channel.output + frame,
                          _mm_add_ps(_mm_mul_ps(wet, _mm_set1_ps(wetGain)), x));
        } else {
            _mm_storeu_ps(channel.output + frame, wet);
        }
        return true;
#else
        (void)channel, (void)frame, (void)w, (void)swings, (void)wetGain, (void)feedback;
        return false;
#endif
    }

#if defined(__x86_64__)
    // runFourFrames for eight frames, with AVX2: lane k is frame + k, written at slot w + k with
    // swings[k], and performs the single step's operations in the same precision and order.
    // Besides eight neighbouring slots, it takes read positions anywhere within one window of
    // sixteen slots (as when the swing crosses a whole sample within the eight frames), picking
    // each lane's two samples out of the window. Returns false, having touched nothing, when a
    // position is not placed, the eight slots would wrap, a lane would read a slot that another
    // lane writes on the other side of it in single steps (see readsClear: 1 to 8 behind when
    // reading first, 0 behind or 1 to 7 ahead when writing first), or the positions do not fit
    // one window.
    template <Effect kEffect>
    [[gnu::target("avx2")]] static bool runEightFrames(const Channel& channel, unsigned int frame,
                                                       int w, const float* swings, float wetGain,
                                                       float feedback) {
        constexpr float kSizeF = static_cast<float>(kLineLength);
        constexpr int kWindow = 16;
        if (w > kLineLength - 8) return false;
        const __m256i lanes = _mm256_setr_epi32(0, 1, 2, 3, 4, 5, 6, 7);
        const __m256i slots = _mm256_add_epi32(_mm256_set1_epi32(w), lanes);
        const __m256 size = _mm256_set1_ps(kSizeF);
        const __m256 position = _mm256_add_ps(
            _mm256_add_ps(_mm256_sub_ps(_mm256_cvtepi32_ps(slots), _mm256_loadu_ps(swings)),
                          _mm256_set1_ps(-kEffect.baseDelay)),
            size);
        const __m256 placed =
            _mm256_and_ps(_mm256_cmp_ps(position, _mm256_setzero_ps(), _CMP_GT_OQ),
                          _mm256_cmp_ps(position, _mm256_set1_ps(2.0f * kSizeF), _CMP_LT_OQ));
        if (_mm256_movemask_ps(placed) != 0xFF) return false;
        const __m256 wrapped =
            _mm256_sub_ps(position, _mm256_and_ps(_mm256_cmp_ps(position, size, _CMP_GE_OQ), size));
        const __m256i index = _mm256_cvttps_epi32(wrapped);
        const __m256 frac = _mm256_sub_ps(wrapped, _mm256_cvtepi32_ps(index));

        // Every lane's two slots within [first, first + kWindow), which does not wrap.
        const int first = _mm_cvtsi128_si32(_mm256_castsi256_si128(index));
        if (first > kLineLength - kWindow - 1) return false;
        const __m256i offset = _mm256_sub_epi32(index, _mm256_set1_epi32(first));
        const __m256i inWindow =
            _mm256_andnot_si256(_mm256_cmpgt_epi32(_mm256_setzero_si256(), offset),
                                _mm256_cmpgt_epi32(_mm256_set1_epi32(kWindow - 1), offset));
        if (_mm256_movemask_ps(_mm256_castsi256_ps(inWindow)) != 0xFF) return false;
        __m256i behind = _mm256_sub_epi32(slots, index);
        behind = _mm256_add_epi32(
            behind, _mm256_and_si256(_mm256_cmpgt_epi32(_mm256_setzero_si256(), behind),
                                     _mm256_set1_epi32(kLineLength)));
        __m256i clear;
        if constexpr (kEffect.writesBeforeReading) {
            clear =
                _mm256_and_si256(_mm256_cmpgt_epi32(behind, _mm256_setzero_si256()),
                                 _mm256_cmpgt_epi32(_mm256_set1_epi32(kLineLength - 7), behind));
        } else {
            clear = _mm256_cmpgt_epi32(behind, _mm256_set1_epi32(8));
        }
        if (_mm256_movemask_ps(_mm256_castsi256_ps(clear)) != 0xFF) return false;

        float* data = channel.data;
        const __m256 x = _mm256_loadu_ps(channel.input + frame);
        if constexpr (kEffect.writesBeforeReading) _mm256_storeu_ps(data + w, x);
        __m256 a;
        __m256 b;
        if (_mm256_movemask_ps(_mm256_castsi256_ps(_mm256_cmpeq_epi32(offset, lanes))) == 0xFF) {
            a = _mm256_loadu_ps(data + first);
            b = _mm256_loadu_ps(data + first + 1);
        } else {
            const __m256 low = _mm256_loadu_ps(data + first);
            const __m256 high = _mm256_loadu_ps(data + first + 8);
            const __m256i next = _mm256_add_epi32(offset, _mm256_set1_epi32(1));
            const __m256i seven = _mm256_set1_epi32(7);
            a = _mm256_blendv_ps(_mm256_permutevar8x32_ps(low, offset),
                                 _mm256_permutevar8x32_ps(high, offset),
                                 _mm256_castsi256_ps(_mm256_cmpgt_epi32(offset, seven)));
            b = _mm256_blendv_ps(_mm256_permutevar8x32_ps(low, next),
                                 _mm256_permutevar8x32_ps(high, next),
                                 _mm256_castsi256_ps(_mm256_cmpgt_epi32(next, seven)));
        }
        const __m256 fracB = _mm256_mul_ps(frac, b);
        const __m256d one = _mm256_set1_pd(1.0);
        const __m256d mixLow = _mm256_add_pd(
            _mm256_cvtps_pd(_mm256_castps256_ps128(fracB)),
            _mm256_mul_pd(_mm256_sub_pd(one, _mm256_cvtps_pd(_mm256_castps256_ps128(frac))),
                          _mm256_cvtps_pd(_mm256_castps256_ps128(a))));
        const __m256d mixHigh = _mm256_add_pd(
            _mm256_cvtps_pd(_mm256_extractf128_ps(fracB, 1)),
            _mm256_mul_pd(_mm256_sub_pd(one, _mm256_cvtps_pd(_mm256_extractf128_ps(frac, 1))),
                          _mm256_cvtps_pd(_mm256_extractf128_ps(a, 1))));
        const __m256 wet = _mm256_set_m128(_mm256_cvtpd_ps(mixHigh), _mm256_cvtpd_ps(mixLow));
        if constexpr (!kEffect.writesBeforeReading) {
            if constexpr (kEffect.feedsBack) {
                _mm256_storeu_ps(data + w,
                                 _mm256_add_ps(_mm256_mul_ps(_mm256_set1_ps(feedback), wet), x));
            } else {
                _mm256_storeu_ps(data + w, x);
            }
        }
        if constexpr (kEffect.keepsDry) {
            _mm256_storeu_ps(channel.output + frame,
                             _mm256_add_ps(_mm256_mul_ps(wet, _mm256_set1_ps(wetGain)), x));
        } else {
            _mm256_storeu_ps(channel.output + frame, wet);
        }
        return true;
    }
#endif

    // Four frames of a channel from frame on, at w: in one step where it can, else one by one.
    template <Effect kEffect>
    [[gnu::always_inline]] static void runFourOrSingle(const Channel& channel, unsigned int frame,
                                                       int w, const float* swings, float wetGain,
                                                       float feedback) {
        if (runFourFrames<kEffect>(channel, frame, w, swings, wetGain, feedback)) return;
        for (unsigned int k = 0; k < 4; ++k) {
            runFrame<kEffect>(channel, frame + k, stepped(w, k), swings[k], wetGain, feedback);
        }
    }

    // Eight frames of a channel from frame on, at w: in one step where it can, else as two runs
    // of four.
    template <Effect kEffect>
    [[gnu::always_inline]] static void runEightOrFour(const Channel& channel, unsigned int frame,
                                                      int w, const float* swings, float wetGain,
                                                      float feedback) {
#if defined(__x86_64__)
        if (runEightFrames<kEffect>(channel, frame, w, swings, wetGain, feedback)) return;
#endif
        runFourOrSingle<kEffect>(channel, frame, w, swings, wetGain, feedback);
        runFourOrSingle<kEffect>(channel, frame + 4, stepped(w, 4), swings + 4, wetGain, feedback);
    }

    // Whether lanes reading `behind` slots behind their own slot (and the slot after that) see
    // only what single steps would. Reading before writing, a lane must not reach the slot of
    // an earlier lane of the four: 1 to 4 behind. Writing first, it must not reach the slot of
    // a later lane: 0 behind (with its second slot) or 1 to 3 ahead.
    template <Effect kEffect>
    static bool readsClear(int behind) {
        if constexpr (kEffect.writesBeforeReading) {
            return behind > 0 && behind < kLineLength - 3;
        } else {
            return behind > 4;
        }
    }

#if defined(__SSE2__)
    // readsClear for four lanes at once.
    template <Effect kEffect>
    static bool readsClear(__m128i behind) {
        __m128i clear;
        if constexpr (kEffect.writesBeforeReading) {
            clear = _mm_and_si128(_mm_cmpgt_epi32(behind, _mm_setzero_si128()),
                                  _mm_cmplt_epi32(behind, _mm_set1_epi32(kLineLength - 3)));
        } else {
            clear = _mm_cmpgt_epi32(behind, _mm_set1_epi32(4));
        }
        return _mm_movemask_ps(_mm_castsi128_ps(clear)) == 0xF;
    }
#endif

    static int stepped(int w, int steps) {
        return w + steps >= kLineLength ? w + steps - kLineLength : w + steps;
    }

    // renderLines in the widest of the lanes asked for that this build has.
    template <Effect kEffect, unsigned int kChannels>
    static void renderHoisted(const Block& block, Lanes lanes) {
#if defined(__x86_64__)
        if (lanes == Lanes::kEight) return renderEightLanes<kEffect, kChannels>(block);
#else
        (void)lanes;
#endif
        renderLines<kEffect, kChannels, Lanes::kFour>(block);
    }

#if defined(__x86_64__)
    // renderLines compiled for AVX2, everything it calls compiled into it. Only for processors
    // that have AVX2 (widestLanes).
    template <Effect kEffect, unsigned int kChannels>
    [[gnu::target("avx2"), gnu::flatten]] static void renderEightLanes(const Block& block) {
        renderLines<kEffect, kChannels, Lanes::kEight>(block);
    }
#endif

    // kChannels channels of kLineLength-sample lines sharing one write pointer, held in locals
    // for the whole block. The block is run in chunks of kChunk frames: first the chunk's
    // oscillator steps, then the chunk's line work, which calls nothing and so overlaps from
    // sample to sample, kLanes frames of a channel at a time where it can. The oscillator steps
    // are each oscillator's block of steps (processBlock, which loads its parameters at every
    // step as process does), then the swings, frame by frame and channel by channel, each with
    // its own load of sweepWidth. Oscillators and lines never touch each other, each oscillator
    // only its own state, and each channel's line work touches only its own line and samples,
    // so none of these splits changes a value.
    template <Effect kEffect, unsigned int kChannels, Lanes kLanes>
    static void renderLines(const Block& block) {
        constexpr unsigned int kChunk = 64;
        constexpr unsigned int kOscillators = kEffect.oscillatorPerChannel ? kChannels : 1;
        const unsigned int frames = block.input.getNumberOfFrames();
        const unsigned int rate = block.input.getSampleRate();
        const int oscillatorRate = static_cast<int>(rate);
        const float rateF = static_cast<float>(rate);
        Channel channels[kChannels];
        for (unsigned int c = 0; c < kChannels; ++c) {
            audio::CircularBuffer& line = block.lines[c];
            channels[c] = Channel{&line, line.getData(), block.input.getChannel(c),
                                  block.output.getChannel(c)};
        }
        const float wetGain = block.wetGain;
        const float feedback = block.feedback;
        float swings[kOscillators][kChunk];
        int w = block.lines[0].getWritePointer();
        for (unsigned int start = 0; start < frames; start += kChunk) {
            const unsigned int count = frames - start < kChunk ? frames - start : kChunk;
            for (unsigned int o = 0; o < kOscillators; ++o) {
                block.oscillators[o].processBlock(oscillatorRate, swings[o], count);
            }
            for (unsigned int i = 0; i < count; ++i) {
#pragma GCC unroll 2
                for (unsigned int o = 0; o < kOscillators; ++o) {
                    swings[o][i] = swingOf(block, swings[o][i], rateF);
                }
            }
            unsigned int i = 0;
            if constexpr (kLanes == Lanes::kEight) {
                for (; i + 8 <= count; i += 8) {
#pragma GCC unroll 2
                    for (unsigned int c = 0; c < kChannels; ++c) {
                        runEightOrFour<kEffect>(channels[c], start + i, w,
                                                swings[kEffect.oscillatorPerChannel ? c : 0] + i,
                                                wetGain, feedback);
                    }
                    w = stepped(w, 8);
                }
            }
            for (; i + 4 <= count; i += 4) {
#pragma GCC unroll 2
                for (unsigned int c = 0; c < kChannels; ++c) {
                    runFourOrSingle<kEffect>(channels[c], start + i, w,
                                             swings[kEffect.oscillatorPerChannel ? c : 0] + i,
                                             wetGain, feedback);
                }
                w = stepped(w, 4);
            }
            for (; i < count; ++i) {
#pragma GCC unroll 2
                for (unsigned int c = 0; c < kChannels; ++c) {
                    const float swing = swings[kEffect.oscillatorPerChannel ? c : 0][i];
                    runFrame<kEffect>(channels[c], start + i, w, swing, wetGain, feedback);
                }
                w = stepped(w, 1);
            }
        }
        for (unsigned int c = 0; c < kChannels; ++c) block.lines[c].setWritePointer(w);
    }

    // Any channel count and any lines: the same steps, each line's own pointer taken and
    // stepped per sample.
    template <Effect kEffect>
    static void renderAnyChannels(const Block& block) {
        const unsigned int channelCount = block.input.getNumberOfChannels();
        const unsigned int frames = block.input.getNumberOfFrames();
        const unsigned int rate = block.input.getSampleRate();
        const int oscillatorRate = static_cast<int>(rate);
        const float rateF = static_cast<float>(rate);
        for (unsigned int f = 0; f < frames; ++f) {
            float swing = 0.0f;
            if constexpr (!kEffect.oscillatorPerChannel) {
                swing = swingOf(block, block.oscillators[0], oscillatorRate, rateF);
            }
            for (unsigned int c = 0; c < channelCount; ++c) {
                if constexpr (kEffect.oscillatorPerChannel) {
                    swing = swingOf(block, block.oscillators[c], oscillatorRate, rateF);
                }
                audio::CircularBuffer& line = block.lines[c];
                const int size = line.getSize();
                const float sizeF = static_cast<float>(size);
                const int w = line.getWritePointer();
                const float position = positionOf<kEffect>(static_cast<float>(w), swing, sizeF);
                const Channel channel{&line, line.getData(), block.input.getChannel(c),
                                      block.output.getChannel(c)};
                runChannel<kEffect>(channel, f, w, Tap::at(position, size, sizeF), position,
                                    block.wetGain, block.feedback);
                line.stepWritePointer(1);
            }
        }
    }
};

// The three effects side by side.
inline constexpr ModulatedDelayLine::Effect kChorusEffect{.baseDelay = 1002.0f,
                                                          .feedsBack = false,
                                                          .writesBeforeReading = false,
                                                          .keepsDry = true,
                                                          .oscillatorPerChannel = true,
                                                          .wetGain = 0.8f,
                                                          .feedback = 0.0f,
                                                          .defaultSweepWidth = 0.025f,
                                                          .defaultFrequency = 0.2f};
inline constexpr ModulatedDelayLine::Effect kFlangerEffect{.baseDelay = 2.0f,
                                                           .feedsBack = true,
                                                           .writesBeforeReading = false,
                                                           .keepsDry = true,
                                                           .oscillatorPerChannel = true,
                                                           .wetGain = 0.8f,
                                                           .feedback = 0.6f,
                                                           .defaultSweepWidth = 0.005f,
                                                           .defaultFrequency = 0.4f};
inline constexpr ModulatedDelayLine::Effect kVibratoEffect{.baseDelay = 1.0f,
                                                           .feedsBack = false,
                                                           .writesBeforeReading = true,
                                                           .keepsDry = false,
                                                           .oscillatorPerChannel = false,
                                                           .wetGain = 0.0f,
                                                           .feedback = 0.0f,
                                                           .defaultSweepWidth = 0.01f,
                                                           .defaultFrequency = 4.0f};

}  // namespace ostrana::extensions::audioeffects
