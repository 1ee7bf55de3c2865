#include <kq/speech_callback.hpp>

// Out of line, so that the class's type information stands in this library alone.
TextToSpeechEngineCallbackInterface::TextToSpeechEngineCallbackInterface() = default;
TextToSpeechEngineCallbackInterface::~TextToSpeechEngineCallbackInterface() = default;
