#!/usr/bin/env python3
"""Runs slicedata and a host through faults, one at a time, and looks at what comes of each.

A case is a road (roads.ini) and a fault. Before the faults of a road it runs once without: that gives the right result
and says how often it calls for what. A fault is KIND:N:EFFECT[:ever] as inject.cpp takes it, or FILE:OFFSET:DAMAGE for
an input (flipBITS: these bits of a byte; zero: 512 bytes; cut: the rest is missing).
"""

import argparse
import concurrent.futures
import configparser
import errno
import os
import pathlib
import queue
import random
import re
import shutil
import signal
import subprocess
import sys
import tempfile
import time

HERE = os.path.dirname(os.path.abspath(__file__))
SKIPPED = 77
TIMEOUT = 60

FAMILIES = {"io": "calls to the system that fail", "memory": "allocations that fail",
            "kill": "SIGKILL, SIGTERM and SIGINT at each call", "damage": "damaged inputs"}

# The errors that each kind of call may meet; short: half of the bytes.
ERRORS = {
    "open": "EACCES EMFILE EIO", "read": "EIO EINTR short", "write": "ENOSPC EIO EINTR short", "close": "EIO",
    "fsync": "EIO ENOSPC", "truncate": "EFBIG", "rename": "EACCES ENOSPC", "link": "EPERM EIO", "unlink": "EACCES EIO",
    "mkdir": "EACCES ENOSPC", "mmap": "ENOMEM", "flock": "ENOLCK EINTR", "fcntl": "EMFILE", "getrandom": "ENOSYS",
    "readdir": "EIO", "stat": "EIO EACCES", "chmod": "EPERM",
}


class Place:
    """A folder for one run at a time, with one for scratch files in it, and the log of the interposer beside it."""

    def __init__(self, root, name):
        self.folder = pathlib.Path(root, name)
        self.scratch, self.log = self.folder / "scratch", f"{self.folder}.log"
        self.scratch.mkdir(parents=True)

    def state(self):
        """Content by path; None for folders."""
        return {str(path.relative_to(self.folder)): None if path.is_dir() else path.read_bytes()
                for path in self.folder.rglob("*") if path != self.scratch}

    def set_state(self, wanted, keep=()):
        """Makes the folder hold these files, and nothing else but what to keep, which stands there already."""
        present = self.state()
        for path in sorted(present, reverse=True):
            if not any(f"{kept}/".startswith(f"{path}/") for kept in keep) and path not in wanted:
                (self.folder / path).rmdir() if present[path] is None else (self.folder / path).unlink()
        for path, content in wanted.items():
            if present.get(path) != content:
                (self.folder / path).write_bytes(content)


class Run:
    """What a run of a program gave."""

    def __init__(self, options, place, command, fault=None):
        environment = {"PATH": os.environ["PATH"], "TMPDIR": str(place.scratch), "NO_COLOR": "1", "LC_ALL": "C.UTF-8",
                       "LD_PRELOAD": options.preload, "FAULT_LOG": place.log,
                       "ASAN_OPTIONS": "allocator_may_return_null=1"}
        if fault:
            environment["FAULT"] = fault
        program = [options.host] + command[1:] if command[0] == "host" else [options.program] + command
        pathlib.Path(place.log).unlink(missing_ok=True)
        try:
            done = subprocess.run(program, cwd=place.folder, env=environment, stdin=subprocess.DEVNULL,
                                  stdout=subprocess.PIPE, stderr=subprocess.PIPE, timeout=TIMEOUT, check=False)
            self.code, self.output = done.returncode, done.stdout
            self.errors = done.stderr.decode(errors="replace").splitlines()
        except subprocess.TimeoutExpired:
            self.code, self.output, self.errors = None, b"", ["hangs"]
        self.state = place.state()
        self.counts, self.struck = {}, None
        if os.path.exists(place.log):
            with open(place.log, errors="replace") as log:
                self.struck = log.readline()[len("struck "):].strip()
                self.counts = {kind: int(count) for kind, count in map(str.split, log)}


class Road:
    """A command line, the files that it begins with, and what it gives without faults."""

    def __init__(self, name, command, standing, files):
        self.name = name
        self.command = command.split()
        self.is_host = self.command[0] == "host"
        self.families = ("io", "memory") if self.is_host else FAMILIES
        self.inputs = [word.split(":")[0] for word in self.command if word.split(":")[0] in files]
        self.before = {file: files[file] for file in self.inputs}
        if standing:
            target, source = map(str.strip, standing.split("="))
            self.before[target] = files[source]
        self.right = None

    def prepare(self, options, place):
        place.set_state(self.before)
        self.right = Run(options, place, self.command)
        if self.right.code not in (0, 1) or leftovers(self.right.state):
            sys.exit(f"faults: {self.name}: fails without faults: {self.right.errors} {leftovers(self.right.state)}")

    def faults(self, family, most, rng, startup):
        """The faults of a family, in a list for each kind of call or file, of at most `most` for each effect.

        `startup` says how many allocations come before the work. They are the same on each road: one is enough."""
        counts = self.right.counts
        if family == "damage":
            return [self.damages(file, len(self.before[file]), most, rng) for file in self.inputs]
        if family == "kill":
            effects = {"any": [f"s{number.value}" for number in (signal.SIGKILL, signal.SIGTERM, signal.SIGINT)]}
        elif family == "memory":
            effects = {"memory": effects_of("ENOMEM")}
        else:
            effects = {kind: [effect for name in names.split() for effect in effects_of(name)]
                       for kind, names in ERRORS.items()}
        groups = []
        for kind, of_kind in effects.items():
            numbers = range(1 + (startup if kind == "memory" else 0), counts[kind] + 1)
            groups.append([f"{kind}:{n}:{effect}" for effect in of_kind
                           for n in sorted(rng.sample(numbers, min(most, len(numbers))))])
        return groups

    @staticmethod
    def damages(file, size, most, rng):
        places = sorted(rng.sample(range(size), min(2 * most, size)))
        return ([f"{file}:{at}:flip{1 << rng.randrange(8)}" for at in places]
                + [f"{file}:{rng.randrange(size)}:{how}" for _ in range(most // 4)
                   for how in ("cut", "zero", f"flip{rng.randrange(1, 256)}")])


def effects_of(name):
    """What is interrupted for ever is tried for ever: that comes once only."""
    effect = name if name == "short" else f"e{getattr(errno, name)}"
    return [effect] if name == "EINTR" else [effect, effect + ":ever"]


def damaged(content, offset, how):
    if how == "cut":
        return content[:offset]
    end = min(offset + 512, len(content)) if how == "zero" else offset + 1
    middle = bytes(end - offset) if how == "zero" else bytes([content[offset] ^ int(how[len("flip"):])])
    return content[:offset] + middle + content[end:]


def leftovers(state):
    """What only a process that is killed may leave: scratch files, outputs that are not whole, the lock of a database."""
    return {path: content for path, content in state.items()
            if re.match("scratch/", path) or re.search(r"(^|/)\.pending-|\.slicedb\.lock$", path)}


def try_case(options, place, road, fault):
    """None if all is well, "" if the fault had no chance to strike, else what is wrong."""
    where, number, effect = fault.split(":")[:3]
    before, after = dict(road.before), dict(road.right.state)
    damage = where in before
    if damage:
        spoilt = damaged(before[where], int(number), effect)
        if after[where] == before[where]:
            after[where] = spoilt
        before[where] = spoilt
    place.set_state(before)
    run = Run(options, place, road.command, None if damage else fault)
    if not damage and run.struck == "":
        return ""
    left = leftovers(run.state)
    rest = {path: content for path, content in run.state.items() if path not in left}
    told = [line for line in run.errors if line not in road.right.errors]
    sent = int(effect[1:]) if effect[0] == "s" and effect != "short" else 0
    wrong = judge_end(road, where, damage, sent, run, told) or judge_files(road, where, sent, run, rest, before, after)
    if not wrong and left and sent != signal.SIGKILL and where != "unlink":
        wrong = f"exit code {run.code} leaves {sorted(left)}: {told}"
    if not wrong and left:
        place.set_state(before, keep=left)
        again = Run(options, place, road.command)
        if again.code != road.right.code or again.state != after:
            wrong = f"the next run gives {again.code}: {differences(again.state, after)} {again.errors}"
    return wrong and f"{wrong} (struck: {run.struck})" if run.struck else wrong


def judge_end(road, where, damage, sent, run, told):
    """What is wrong with exit code and messages."""
    if run.code is None:
        return f"does not end within {TIMEOUT} s"
    if run.code in (0, road.right.code):
        heeds = sent or (where == "fsync" and not road.is_host)
        return "goes on after what it has to heed" if heeds else None
    if sent:
        allowed = (-sent,) if sent == signal.SIGKILL else (-sent, 128 + sent)
        return None if run.code in allowed else f"exit code {run.code} after signal {sent}: {told}"
    if run.code != 2 or road.is_host:
        return f"exit code {run.code}: {' / '.join(told)[:400]}"
    subject = "" if where in ("memory", "mmap") else ".+: "
    if len(told) != 1 or not re.fullmatch(f"slicedata: {subject}.+; .+", told[0]):
        return f"exit code 2 is to come with one line, of file, cause and advice, not {told}"
    if not damage and re.search("(?<!whether it )(is|are) damaged", told[0]):
        return f"calls a file damaged that is whole: {told[0]}"
    return None


def judge_files(road, where, sent, run, rest, before, after):
    """What is wrong with the result."""
    if run.code in (0, road.right.code):
        # Other formats have no check sums: what is damaged there may be another part.
        if where in before and not where.endswith((".slicestack", ".slicedb")):
            return None
        if run.code == road.right.code and run.output == road.right.output and rest == after:
            return None
        texts = [differences(rest, after), "the output" if run.output != road.right.output else ""]
        return f"WRONG RESULT with exit code {run.code}: {', '.join(filter(None, texts))}"
    # Whoever is killed between two files of one output leaves one; whoever fails takes it back.
    parts = all(content in (before.get(path, b""), after.get(path, b"")) for path, content in rest.items())
    if rest in (before, after) or (sent and parts and set(before) <= set(rest)):
        return None
    return f"exit code {run.code} leaves something else: {differences(rest, before)}"


def differences(state, wanted):
    return ", ".join(path if path in state and path in wanted else ("no " if path in wanted else "new ") + path
                     for path in sorted(set(state) | set(wanted)) if state.get(path, b"-") != wanted.get(path, b"-"))


def make_files(options, section, place, source):
    """The files that roads begin with, by name."""
    for name, recipe in section.items():
        if recipe.startswith("docs/"):
            shutil.copy(os.path.join(source, recipe), place.folder / name)
            continue
        for command in recipe.replace("{}", name).split("&&"):
            run = Run(options, place, command.split())
            if run.code != 0:
                sys.exit(f"faults: cannot make {name}: {run.errors}")
    return place.state()


def choose(groups, count, rng):
    """`count` cases, from all families, roads and kinds in turn."""
    lists = [rng.sample(group, len(group)) for group in groups]
    rng.shuffle(lists)
    chosen = []
    while any(lists) and len(chosen) < count:
        chosen += [group.pop() for group in lists if group]
    return chosen[:count]


def main():
    parser = argparse.ArgumentParser(prog="faults", description=__doc__, formatter_class=argparse.RawTextHelpFormatter)
    for family, text in FAMILIES.items():
        parser.add_argument(f"--{family}", dest="families", action="append_const", const=family, help=text)
    parser.add_argument("--road", action="append", help="only this road; may be repeated")
    parser.add_argument("--fault", help="only this fault: with --road, one case")
    parser.add_argument("--seed", type=int, default=int(time.time()), help="of what is chosen where there is too much")
    parser.add_argument("--cases", type=int, help="this many, chosen by the seed")
    parser.add_argument("--most", type=int, default=300, help="at most so many of one kind on a road (default 300)")
    parser.add_argument("--build", default="build/release", help="the folder of the build (default build/release)")
    parser.add_argument("--jobs", type=int, default=os.cpu_count())
    options = parser.parse_args()
    if options.fault and not re.fullmatch(r"[\w.]+:\d+:\w+(:ever)?", options.fault):
        parser.error("--fault is KIND:N:EFFECT, KIND:N:EFFECT:ever or FILE:OFFSET:DAMAGE, such as write:3:e28:ever")
    source = os.path.dirname(os.path.dirname(HERE))
    build = os.path.abspath(os.path.join(source, options.build))
    options.program = os.path.join(build, "bin", "slicedata")
    options.host = os.path.join(build, "tests", "faults", "fault_host")
    interposer = os.path.join(build, "tests", "faults", "libfault_inject.so")
    for file in (options.program, options.host, interposer):
        if not os.path.exists(file):
            sys.exit(f"faults: {file} is not there; build the targets slicedata, fault_host and fault_inject")
    # The runtime of the address sanitizer has to come first.
    linked = subprocess.run(["ldd", options.program], stdout=subprocess.PIPE, text=True, check=False).stdout
    runtime = re.findall(r"=> (\S*lib[at]san\S*)", linked)
    options.preload = ":".join(runtime + [interposer])

    roads_file = configparser.ConfigParser(interpolation=None)
    roads_file.read(os.path.join(HERE, "roads.ini"))
    root = tempfile.mkdtemp(prefix="slicedata-faults-", dir="/dev/shm" if os.access("/dev/shm", os.W_OK) else None)
    places = queue.SimpleQueue()
    try:
        first = Place(root, "0")
        plain = Run(options, first, ["--version"])
        if not plain.counts:
            print("faults: skipped: the interposer cannot be loaded before the program")
            return SKIPPED
        files = make_files(options, roads_file["files"], first, source)
        roads = [Road(name, command, roads_file["before"].get(name), files)
                 for name, command in roads_file["roads"].items() if name in (options.road or [name])]
        for place in [first] + [Place(root, str(i)) for i in range(1, options.jobs)]:
            places.put(place)
        return sweep(options, roads, places, plain.counts["memory"])
    finally:
        shutil.rmtree(root, ignore_errors=True)


def sweep(options, roads, places, startup):
    place = places.get()
    groups = []
    for road in roads:
        road.prepare(options, place)
        for family in road.families:
            rng = random.Random(f"{options.seed} {road.name} {family}")
            if options.fault:
                continue
            if family in (options.families or road.families):
                groups += [[(family, road, fault) for fault in group]
                           for group in road.faults(family, options.most, rng,
                                                    0 if road is roads[0] or road.is_host else startup)]
    places.put(place)
    if options.fault:
        cases = [("one", road, options.fault) for road in roads]
    elif options.cases:
        cases = choose(groups, options.cases, random.Random(options.seed))
    else:
        cases = [case for group in groups for case in group]
    print(f"faults: {len(cases)} cases on {len(roads)} roads, seed {options.seed}", flush=True)

    def one(case):
        own = places.get()
        try:
            return case, try_case(options, own, *case[1:])
        finally:
            places.put(own)

    tried, failed, findings = {}, {}, {}
    begin = time.time()
    with concurrent.futures.ThreadPoolExecutor(options.jobs) as pool:
        for (family, road, fault), wrong in pool.map(one, cases):
            if wrong == "":
                continue
            tried[family] = tried.get(family, 0) + 1
            if wrong is None:
                continue
            failed[family] = failed.get(family, 0) + 1
            # Much the same, but for numbers and random names.
            alike = findings.setdefault(re.sub(r"[0-9a-f]{8,}|\d+", "#", wrong)[:60], [])
            alike.append(f"--road {road.name} --fault {fault}")
            if len(alike) == 1:
                print(f"FAILED ./run faults {alike[0]}\n       {wrong}", flush=True)
    for what, alike in findings.items():
        print(f"\n{len(alike)} times: {what}\n       " + "\n       ".join(alike[:8] + ["..."] * (len(alike) > 8)))
    for family, count in tried.items():
        print(f"faults: {family}: {count} tried, {failed.get(family, 0)} failed")
    print(f"faults: {sum(tried.values())} tried, {sum(failed.values())} failed, {time.time() - begin:.0f} s, "
          f"seed {options.seed}")
    return 1 if failed else 0


if __name__ == "__main__":
    signal.signal(signal.SIGTERM, lambda *_: sys.exit(128 + signal.SIGTERM))  # folders are removed
    sys.exit(main())
