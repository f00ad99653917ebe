#!/usr/bin/env python3
"""Parlevo's on-device speech worker for Qwen3-ASR-1.7B.

Started by the application with the virtual environment's interpreter:
    python qwen-worker.py --model <folder of Qwen3-ASR-1.7B-bf16>
It loads the model once, then reads one JSON request per line on standard
input, {"id", "audioPath", "language"}, and writes one JSON reply per line on
standard output, {"id", "transcript"} or {"id", "error"}. The audio is 16 kHz
mono 16-bit WAV. The model is never fetched from the network: the
application sets HF_HUB_OFFLINE, and the folder must already hold the weights.
Diagnostics go to standard error.
"""

import argparse
import json
import os
import sys

# The application's language codes and the names the model expects.
LANGUAGES = {
    "en": "English", "es": "Spanish", "fr": "French", "de": "German",
    "it": "Italian", "pt": "Portuguese", "nl": "Dutch", "pl": "Polish",
    "ru": "Russian", "tr": "Turkish", "ar": "Arabic", "hi": "Hindi",
    "id": "Indonesian", "ja": "Japanese", "ko": "Korean", "zh": "Chinese",
    "vi": "Vietnamese", "th": "Thai",
}


def log(*parts):
    print("qwen-worker:", *parts, file=sys.stderr, flush=True)


def send(reply):
    sys.stdout.write(json.dumps(reply, ensure_ascii=False) + "\n")
    sys.stdout.flush()


def load_model(folder):
    os.environ.setdefault("HF_HUB_OFFLINE", "1")
    os.environ.setdefault("TRANSFORMERS_OFFLINE", "1")
    import torch
    from qwen_asr import Qwen3ASRModel

    if torch.cuda.is_available():
        device, dtype = "cuda:0", torch.bfloat16
    else:
        # bf16 matmuls are slow or missing on many CPUs; float32 is safe.
        device, dtype = "cpu", torch.float32
    log("loading", folder, "on", device)
    return Qwen3ASRModel.from_pretrained(
        folder,
        dtype=dtype,
        device_map=device,
        max_inference_batch_size=1,
        max_new_tokens=1024,
    )


def transcribe(model, path, language):
    name = LANGUAGES.get(language)  # unknown or "auto": let the model detect it
    results = model.transcribe(audio=path, language=name)
    if not results:
        return ""
    return " ".join(r.text.strip() for r in results if getattr(r, "text", None)).strip()


def serve(model):
    for line in sys.stdin:
        line = line.strip()
        if not line:
            continue
        try:
            request = json.loads(line)
            rid = request["id"]
        except (ValueError, KeyError, TypeError):
            send({"id": None, "error": "unreadable request"})
            continue
        try:
            path = request["audioPath"]
            if not os.path.isfile(path):
                raise FileNotFoundError(path)
            text = transcribe(model, path, request.get("language", "auto"))
            send({"id": rid, "transcript": text})
        except Exception as error:  # one bad recording must not end the worker
            log("request failed:", repr(error))
            send({"id": rid, "error": str(error) or type(error).__name__})


def main():
    parser = argparse.ArgumentParser()
    parser.add_argument("--model", required=True)
    args = parser.parse_args()
    if not os.path.isfile(os.path.join(args.model, "model.safetensors")):
        log("no model.safetensors in", args.model)
        return 1
    try:
        model = load_model(args.model)
    except Exception as error:
        log("the model could not be loaded:", repr(error))
        return 1
    serve(model)
    return 0


if __name__ == "__main__":
    sys.exit(main())
