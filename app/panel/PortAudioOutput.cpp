#include "app/panel/PortAudioOutput.h"

#include "app/panel/QuietSound.h"

#include <algorithm>
#include <cmath>
#include <portaudio.h>

namespace tessary {
namespace {

const QString kNoDevice = QStringLiteral("No sound device was found.");

int fillBuffer(const void *, void *output, unsigned long frames, const PaStreamCallbackTimeInfo *,
               PaStreamCallbackFlags, void *feed) {
  auto *const from = static_cast<SoundFeed *>(feed);
  return from->fill(static_cast<std::int16_t *>(output), frames) ? paContinue : paComplete;
}

void streamFinished(void *feed) {
  static_cast<SoundFeed *>(feed)->deviceEnded();
}

QString describe(PaError error, const char *device, std::uint32_t rate) {
  const QString name = QString::fromUtf8(device);
  if (error == paInvalidSampleRate)
    return QStringLiteral("The sound device “%1” does not play at %2 Hz.").arg(name, QString::number(rate));
  return QStringLiteral("The sound device “%1” cannot be opened: %2.")
      .arg(name, QString::fromUtf8(Pa_GetErrorText(error)));
}

} // namespace

bool PortAudioOutput::play(const Sound &sound, const std::function<bool()> &isWanted, QString *problem) {
  stop();
  keepSoundSystemQuiet();
  if (!isSoundSystemSetUp()) {
    *problem = kNoDevice;
    return false;
  }
  if (const PaError error = Pa_Initialize(); error != paNoError) {
    *problem = QStringLiteral("The sound system cannot be reached: %1.")
                   .arg(QString::fromUtf8(Pa_GetErrorText(error)));
    return false;
  }
  isInitialised_ = true;
  const PaDeviceIndex device = Pa_GetDefaultOutputDevice();
  const PaDeviceInfo *const about = device == paNoDevice ? nullptr : Pa_GetDeviceInfo(device);
  if (!about || about->maxOutputChannels < 1) {
    *problem = kNoDevice;
    close();
    return false;
  }
  // Some devices have no single channel: they get the same on both.
  PaError error = paNoError;
  for (int channels = 1; channels <= std::min(about->maxOutputChannels, 2); ++channels) {
    const PaStreamParameters parameters{device, channels, paInt16, kMostSecondsAhead, nullptr};
    error = Pa_OpenStream(&stream_, nullptr, &parameters, sound.rate, paFramesPerBufferUnspecified, paNoFlag,
                          fillBuffer, &feed_);
    if (error != paNoError) {
      stream_ = nullptr;
      continue;
    }
    const double secondsAhead = std::clamp(Pa_GetStreamInfo(stream_)->outputLatency, 0.0, 1.0);
    feed_.begin(sound, channels, static_cast<std::uint64_t>(std::lround(secondsAhead * sound.rate)));
    Pa_SetStreamFinishedCallback(stream_, streamFinished);
    if (!isWanted()) {
      close();
      return false;
    }
    error = Pa_StartStream(stream_);
    if (error == paNoError) return true;
    break;
  }
  *problem = describe(error, about->name, sound.rate);
  close();
  return false;
}

void PortAudioOutput::stop() {
  if (stream_) Pa_AbortStream(stream_);
  close();
}

void PortAudioOutput::close() {
  if (stream_) Pa_CloseStream(stream_);
  stream_ = nullptr;
  if (isInitialised_) Pa_Terminate();
  isInitialised_ = false;
  feed_.end();
}

} // namespace tessary
