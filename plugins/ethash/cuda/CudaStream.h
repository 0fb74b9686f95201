#pragma once
#include "ethash/cuda/CudaContext.h"

// A stream, and the event by which its thread waits for what was queued in it without keeping a CPU core busy. It does not
// wait for the null stream, nor that for it: what belongs together goes through one stream. Ends when what is queued has
// ended: made after the memory that its work uses, it is gone before that.
class CCudaStream {
  public:
    explicit CCudaStream(const CCudaContext& context) : m_api(context.Api()) {
        CheckCuda(m_api, m_api.StreamCreate(&m_stream, kCudaStreamNonBlocking), "cuStreamCreate");
        const CudaResult result = m_api.EventCreate(&m_event, kCudaEventBlockingSync | kCudaEventDisableTiming);
        if (result != kCudaSuccess) m_api.StreamDestroy(m_stream);
        CheckCuda(m_api, result, "cuEventCreate");
    }
    ~CCudaStream() {
        if (m_api.EventRecord(m_event, m_stream) == kCudaSuccess) m_api.EventSynchronize(m_event);
        m_api.EventDestroy(m_event);
        m_api.StreamDestroy(m_stream);
    }
    CCudaStream(const CCudaStream&) = delete;
    CCudaStream& operator=(const CCudaStream&) = delete;

    CudaStreamObject* Get() const { return m_stream; }
    // After the last launch of what is to be waited for.
    void Mark() {
        CheckCuda(m_api, m_api.EventRecord(m_event, m_stream), "cuEventRecord");
        // Windows' driver model collects launches into batches; being asked, it hands them to the card at once.
        const CudaResult result = m_api.StreamQuery(m_stream);
        if (result != kCudaNotReady) CheckCuda(m_api, result, "cuStreamQuery");
    }
    void WaitForMark() { CheckCuda(m_api, m_api.EventSynchronize(m_event), "cuEventSynchronize"); }

  private:
    const CudaDriverApi& m_api;
    CudaStreamObject* m_stream = nullptr;
    CudaEventObject* m_event = nullptr;
};
