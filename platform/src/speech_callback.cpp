#include <kq/speech_callback.hpp>

// Defined here, so that only this library has the class's type information.
TextToSpeechEngineCallbackInterface::TextToSpeechEngineCallbackInterface() = default;
TextToSpeechEngineCallbackInterface::~TextToSpeechEngineCallbackInterface() = default;
