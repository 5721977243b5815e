#pragma once

#include "trevik/List.h"
#include "trevik/Ref.h"
#include "trevik/kelvo/Controller.h"
#include "trevik/kelvo/Deserializer.h"
#include "trevik/kelvo/MemoryTracer.h"
#include "trevik/kelvo/PropertyTraits.h"
#include "trevik/kelvo/Serializer.h"

#include <algorithm>
#include <cstring>
#include <new>

namespace trevik::kelvo {

/** A run of equal samples, as it stands in memory and in documents. */
template <class T>
struct SampleChunk {
    unsigned int m_nFirst;  ///< index of the run's first sample
    unsigned int m_nLength; ///< number of samples
    T m_value;              ///< the value of each of them
};

/**
 * Drives a property by one value per frame, from a start frame on; between frames values are mixed, before
 * the first and after the last frame the end values hold. Loaded samples are read where they stand in the
 * document, which the controller keeps alive; created ones are its own.
 *
 * For types that are not sampled (PropertyTraits<T>::Sampled) see the specialisation below.
 */
template <class T, bool fSampled = PropertyTraits<T>::Sampled>
class SampleController : public Controller<T> {
public:
    typedef SampleChunk<T> Chunk; ///< a run of equal samples

    /** A controller without samples; it gives no value until Load. */
    SampleController() = default;

    /**
     * A controller with copies of `nCount` samples, the first of them for frame `nStartFrame`. Null without
     * memory.
     */
    static Ref<SampleController> Create(int nStartFrame, T const* pSamples, unsigned int nCount) {
        Ref<SampleController> pController = Create();
        if (!pController || !pController->m_samples.Reserve(nCount)) {
            return nullptr;
        }
        for (unsigned int n = 0; n < nCount; ++n) {
            pController->m_samples.Append(pSamples[n]);
        }
        pController->m_nStartFrame = nStartFrame;
        pController->m_nSampleCount = nCount;
        pController->m_fExternal = false;
        pController->NoteForm();
        return pController;
    }
    /** A controller without samples, as its constructor makes it; null without memory. */
    static Ref<SampleController> Create() {
        Ref<SampleController> pController(new (std::nothrow) SampleController);
        if (pController) {
            pController->m_fPlainSampler = true;
        }
        return pController;
    }

    /** Frame of the first sample. */
    int GetStartFrame() const { return m_nStartFrame; }
    /** Number of frames covered. */
    unsigned int GetSampleCount() const { return m_nSampleCount; }
    /** Whether the samples are held as runs. */
    bool IsChunked() const { return m_fChunked; }
    /** Number of runs; 0 unless chunked. */
    unsigned int GetChunkCount() const { return m_nChunkCount; }
    /** Whether the samples are read where they stand in a document. */
    bool IsExternal() const { return m_fExternal; }
    /** Sample `nSample`, 0 being the start frame's; past the end the last one. There must be a sample. */
    T GetSample(unsigned int nSample) const {
        T value;
        PropertyTraits<T>::Read(value, FindSample(nSample));
        return value;
    }

    bool Evaluate(UpdateContext const& context, RealFloat const& frame, T& out) override {
        return (context.HasParts(frame) && Sample(context, out)) || EvaluateAnywhere(frame, out);
    }

    /**
     * What Evaluate does at the frame that the context was made for. False, with `out` as it was, for a frame
     * without parts, too. For callers that know that no class has another Evaluate.
     */
    bool Sample(UpdateContext const& context, T& out) const {
        // Whole numbers before the start frame give a difference that is larger than any number of samples.
        auto const nSample = static_cast<unsigned long long>(context.GetWhole() - m_nStartFrame);
        if (__builtin_expect(nSample >= m_nMixed, 0)) {
            return SampleAnywhere(context, out);
        }
        unsigned char const* const pSample = m_pData + nSample * sizeof(T);
        if (__builtin_expect(context.IsBetween(), 1)) {
            PropertyTraits<T>::Interpolate(pSample, pSample + sizeof(T), context.GetFraction(), out);
        } else {
            PropertyTraits<T>::Read(out, pSample);
        }
        return true;
    }

    /**
     * Reads the attributes "StartFrame", "Size" and "Samples" of the current node. False, with the controller
     * unchanged, when one is missing or of the wrong length, when there are fewer samples or runs than "Size"
     * says, or when the runs together are longer than 2^32 - 1 frames.
     */
    bool Load(Deserializer& deserializer) override {
        int nStartFrame = 0;
        unsigned int nSizeWord = 0;
        unsigned char const* pData = nullptr;
        unsigned long nLength = 0;
        if (!deserializer.ReadValue(DocumentID::StartFrame, nStartFrame) ||
            !deserializer.ReadValue(DocumentID::Size, nSizeWord) ||
            !deserializer.FindAttribute(DocumentID::Samples, pData, nLength)) {
            return false;
        }
        bool const fChunked = (nSizeWord & ChunkedBit) != 0;
        unsigned int const nCount = nSizeWord & ~ChunkedBit;
        unsigned long long const nNeeded =
            static_cast<unsigned long long>(nCount) * (fChunked ? sizeof(Chunk) : sizeof(T));
        unsigned int nSampleCount = nCount;
        if (nNeeded > nLength ||
            (fChunked && (!PropertyTraits<T>::Chunked || !SumRuns(pData, nCount, nSampleCount)))) {
            return false;
        }
        m_nStartFrame = nStartFrame;
        m_nSampleCount = nSampleCount;
        m_samples.Release();
        m_fChunked = fChunked;
        m_nChunkCount = fChunked ? nCount : 0;
        m_chunks.Release();
        m_pData = nLength != 0 ? pData : nullptr;
        m_fExternal = true;
        m_pDocument = Ref(deserializer.GetCurrentNode());
        NoteForm();
        return true;
    }

    /**
     * Writes a child node "Controller" of type "Sample"; turns the samples into runs first where that is
     * smaller.
     */
    bool Save(Serializer& serializer) override {
        bool const fChunked = Compact();
        unsigned int const nSizeWord = fChunked ? m_nChunkCount | ChunkedBit : m_nSampleCount;
        unsigned long const nLength = fChunked ? static_cast<unsigned long>(m_nChunkCount) * sizeof(Chunk)
                                               : static_cast<unsigned long>(m_nSampleCount) * sizeof(T);
        if (!serializer.PushTag(DocumentID::Controller, DocumentID::Sample) ||
            !serializer.WriteValue(DocumentID::StartFrame, m_nStartFrame) ||
            !serializer.WriteValue(DocumentID::Size, nSizeWord) ||
            !serializer.WriteAttribute(DocumentID::Samples, m_pData, nLength)) {
            return false;
        }
        serializer.PopTag();
        return true;
    }

    /** Reports the controller itself and its plain samples. */
    void Emit(MemoryTracer* pTracer) override {
        pTracer->EmitAllocation(sizeof(*this), MemoryType::Property);
        pTracer->EmitAllocation(static_cast<unsigned int>(sizeof(T) * m_samples.GetCount()),
                                MemoryType::Property);
    }

    /**
     * Turns plain samples into runs where those take strictly fewer bytes; samples that stand in a document
     * become the controller's own in any case. Returns whether the samples are now held as runs. Out of
     * memory nothing changes.
     */
    bool Compact() {
        if constexpr (PropertyTraits<T>::Chunked) {
            if (m_fChunked) {
                return true;
            }
            if (!OwnSamples()) {
                return false;
            }
            m_chunks.Release();
            unsigned int const nRuns = CountRuns();
            if (static_cast<unsigned long long>(nRuns) * sizeof(Chunk) >=
                    static_cast<unsigned long long>(m_nSampleCount) * sizeof(T) ||
                !MakeChunks(nRuns)) {
                return false;
            }
            m_nChunkCount = nRuns;
            m_fChunked = true;
            NoteForm();
            m_samples.Release();
        } else {
            OwnSamples();
        }
        return m_fChunked;
    }

private:
    static constexpr unsigned int ChunkedBit = 0x80000000u;
    static constexpr unsigned int MostMixed = 0x80000000u;
    /** Above every frame that a sample can have, and within what converts to a whole number. */
    static constexpr RealFloat FrameLimit = 1e18f;
    static_assert(!PropertyTraits<T>::Chunked || sizeof(Chunk) == 8 + sizeof(T),
                  "runs are saved without gaps");

    /** Adds up the run lengths; false when the sum exceeds 32 bits. */
    static bool SumRuns(unsigned char const* pData, unsigned int nRuns, unsigned int& nSampleCount) {
        unsigned long long nSum = 0;
        for (unsigned int n = 0; n < nRuns; ++n) {
            unsigned int nLength;
            std::memcpy(&nLength,
                        pData + n * static_cast<unsigned long>(sizeof(Chunk)) + sizeof(unsigned int),
                        sizeof(nLength));
            nSum += nLength;
        }
        nSampleCount = static_cast<unsigned int>(nSum);
        return nSum == nSampleCount;
    }

    /** To be called when samples or their form have changed. */
    void NoteForm() {
        m_nMixed = m_fChunked || m_nSampleCount == 0 ? 0 : std::min(m_nSampleCount - 1, MostMixed);
        if (!m_fExternal) {
            m_pData = m_fChunked ? reinterpret_cast<unsigned char const*>(m_chunks.GetData())
                                 : reinterpret_cast<unsigned char const*>(m_samples.GetData());
        }
    }

    /** The sample at or before frame `t`, and in `f` how far `t` lies towards the next one. */
    unsigned long long Locate(RealFloat t, RealFloat& f) const {
        long long const nLastFrame = static_cast<long long>(m_nStartFrame) + m_nSampleCount - 1;
        f = 0;
        if (!(t > static_cast<RealFloat>(m_nStartFrame))) { // also true for NaN
            return 0;
        }
        if (t >= FrameLimit) {
            return m_nSampleCount - 1;
        }
        // Truncated toward zero, not down: between negative frames the later one and a negative fraction.
        // Intended (frames-toward-zero).
        long long const nFrame = static_cast<long long>(t);
        RealFloat const fraction = t - static_cast<RealFloat>(nFrame);
        // By whole numbers: as a float, a late frame may be the one beside it.
        if (nFrame > nLastFrame || (nFrame == nLastFrame && fraction >= 0)) {
            return m_nSampleCount - 1;
        }
        f = fraction;
        return static_cast<unsigned long long>(nFrame - m_nStartFrame);
    }

    /** The bytes of a sample; past the end those of the last one. */
    unsigned char const* FindSample(unsigned long long nSample) const {
        return m_fChunked ? FindChunkedSample(nSample) : FindPlainSample(nSample);
    }

    unsigned char const* FindPlainSample(unsigned long long nSample) const {
        unsigned int const nLast = m_nSampleCount - 1;
        return m_pData + (nSample < nLast ? nSample : nLast) * sizeof(T);
    }

    /** Sample for runs and for the ends. */
    __attribute__((noinline, cold)) bool SampleAnywhere(UpdateContext const& context, T& out) const {
        return context.HasParts() && EvaluateAnywhere(context.GetFrame(), out);
    }

    /** Evaluate for runs and for the ends. */
    __attribute__((noinline)) bool EvaluateAnywhere(RealFloat t, T& out) const {
        if (m_nSampleCount == 0) {
            return false;
        }
        RealFloat f;
        unsigned long long const nSample = Locate(t, f);
        if (f == 0) {
            PropertyTraits<T>::Read(out, FindSample(nSample));
        } else {
            PropertyTraits<T>::Interpolate(FindSample(nSample), FindSample(nSample + 1), f, out);
        }
        return true;
    }

    unsigned char const* FindChunkedSample(unsigned long long nSample) const {
        unsigned char const* const pChunks = m_pData;
        long long nLow = 0;
        long long nHigh = static_cast<long long>(m_nChunkCount) - 1;
        unsigned char const* pFound = pChunks + static_cast<unsigned long>(nHigh) * sizeof(Chunk);
        while (nLow <= nHigh) {
            long long const nMiddle = nLow + (nHigh - nLow) / 2;
            unsigned char const* const pChunk = pChunks + static_cast<unsigned long>(nMiddle) * sizeof(Chunk);
            unsigned int range[2]; // first index and length
            std::memcpy(range, pChunk, sizeof(range));
            if (nSample < range[0]) {
                nHigh = nMiddle - 1;
            } else if (nSample - range[0] < range[1]) {
                pFound = pChunk;
                break;
            } else {
                nLow = nMiddle + 1;
            }
        }
        return pFound + 2 * sizeof(unsigned int);
    }

    /** Copies samples that stand in a document; false when out of memory. */
    bool OwnSamples() {
        if (!m_fExternal) {
            return true;
        }
        List<T> samples;
        if (!samples.Resize(m_nSampleCount)) {
            return false;
        }
        for (unsigned int n = 0; n < m_nSampleCount; ++n) {
            PropertyTraits<T>::Read(samples[n], m_pData + static_cast<unsigned long>(n) * sizeof(T));
        }
        m_samples.Swap(samples);
        m_fExternal = false;
        NoteForm();
        m_pDocument.Reset();
        return true;
    }

    unsigned int CountRuns() const {
        unsigned int nRuns = m_nSampleCount != 0 ? 1 : 0;
        for (unsigned int n = 1; n < m_nSampleCount; ++n) {
            nRuns += m_samples[n] == m_samples[n - 1] ? 0 : 1;
        }
        return nRuns;
    }

    bool MakeChunks(unsigned int nRuns) {
        if (!m_chunks.Reserve(nRuns)) {
            return false;
        }
        for (unsigned int n = 0; n < m_nSampleCount; ++n) {
            if (n != 0 && m_samples[n] == m_samples[n - 1]) {
                ++m_chunks.Last().m_nLength;
            } else {
                m_chunks.Append(Chunk{n, 1, m_samples[n]});
            }
        }
        return true;
    }

    bool m_fChunked = false;
    bool m_fExternal = true;
    int m_nStartFrame = 0;           ///< frame of sample 0
    unsigned int m_nSampleCount = 0; ///< frames covered
    unsigned int m_nChunkCount = 0;
    unsigned int m_nMixed = 0;              ///< plain samples with a next one, as far as Sample looks
    List<T> m_samples;                      ///< plain form, unless external
    List<Chunk> m_chunks;                   ///< chunked form, unless external
    unsigned char const* m_pData = nullptr; ///< samples or chunks, own or in a document, at any alignment
    Ref<DocumentNode> m_pDocument;          ///< keeps m_pData alive where it is external
};

/**
 * The controller of a value that is not sampled: inert, intended (lists-not-animated). It loads and saves
 * nothing and gives no value.
 */
template <class T>
class SampleController<T, false> : public Controller<T> {
public:
    /** A new one; null without memory. */
    static Ref<SampleController> Create() { return Ref(new (std::nothrow) SampleController); }

    bool Evaluate(UpdateContext const&, RealFloat const&, T&) override { return false; }
    bool IsFinished() override { return false; }
    bool Load(Deserializer&) override { return true; }
    bool Save(Serializer&) override { return true; }
    void Emit(MemoryTracer* pTracer) override {
        pTracer->EmitAllocation(sizeof(*this), MemoryType::Property);
        pTracer->EmitAllocation(0, MemoryType::Property); // no samples
    }
};

} // namespace trevik::kelvo
