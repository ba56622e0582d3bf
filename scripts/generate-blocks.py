#!/usr/bin/env python3
"""Writes a block file of COUNT generated blocks to PATH: 100 a day
(07:00-23:00 UTC) from 2023-01-01, or so that the last day is yesterday with
--until-yesterday; the titles a working person's Mac gives.
usage: generate-blocks.py COUNT PATH [--until-yesterday]"""
import random
import sys
import time
import uuid

count, path = int(sys.argv[1]), sys.argv[2]
titles = ["Xcode", "Code · api", "Slack", "Mail", "github.com", "youtube.com", "Notion", "Terminal · src"]
reference = 978307200  # 2001-01-01, where the file's dates count from
first, rng = 694224000.0, random.Random(42)
if "--until-yesterday" in sys.argv[3:]:
    today = int(time.time()) // 86400 * 86400 - reference
    first = float(today - (count + 99) // 100 * 86400)
with open(path, "w") as out:
    out.write("[")
    for i in range(count):
        start = first + (i // 100) * 86400 + 25200 + (i % 100) * 576
        end = start + rng.randint(60, 570)
        out.write(("," if i else "") + '{"id":"%s","title":"%s","category":"work","weight":%d,'
                  '"note":"Logged automatically on Mac","createdAt":%r,"startDate":%r,"endDate":%r,'
                  '"blockType":"tracked","modifiedAt":%r}' % (str(uuid.UUID(int=rng.getrandbits(128), version=4)).upper(),
                  rng.choice(titles), (end - start) // 60, start, start, end, end))
    out.write("]")
