#!/usr/bin/env python3
"""Word error rate of hypotheses against reference transcriptions.

Usage: wer.py REFERENCE_FILE HYPOTHESES_FILE
REFERENCE_FILE lines: "<s> words </s> (utterance-id)" (the Sphinx test format).
HYPOTHESES_FILE lines: "utterance-id<TAB>words". Words are compared lower-case
with punctuation other than apostrophes removed. Prints the total error count,
the reference word count and the rate.
"""
import re
import sys


def words(text):
    text = re.sub(r"</?s>", " ", text.lower())
    return re.sub(r"[^\w' ]+", " ", text).split()


def distance(a, b):
    row = list(range(len(b) + 1))
    for i, x in enumerate(a, 1):
        previous, row[0] = row[0], i
        for j, y in enumerate(b, 1):
            previous, row[j] = row[j], min(row[j] + 1, row[j - 1] + 1, previous + (x != y))
    return row[-1]


def main(reference_file, hypotheses_file):
    references = {}
    for line in open(reference_file):
        match = re.match(r"(.*)\((\S+)\)\s*$", line)
        if match:
            references[match.group(2)] = words(match.group(1))
    errors = total = 0
    for line in open(hypotheses_file):
        uid, _, text = line.rstrip("\n").partition("\t")
        reference = references[uid]
        errors += distance(reference, words(text))
        total += len(reference)
    print("%d %d %.3f" % (errors, total, errors / total))


if __name__ == "__main__":
    main(*sys.argv[1:])
