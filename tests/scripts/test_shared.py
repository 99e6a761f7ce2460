"""What commands that run at the same time share: the lock of a checkout, and the machine's processors. What becomes of what
they have started."""
import contextlib
import os
import pathlib
import shutil
import signal
import subprocess
import tempfile
import unittest

ROOT = pathlib.Path(__file__).resolve().parents[2]


class Shells(unittest.TestCase):
    """Shells with the scripts of a checkout; each does what it is told when a line arrives on its input."""

    def setUp(self):
        self.folder = pathlib.Path(self.enterContext(tempfile.TemporaryDirectory()))
        shutil.copytree(ROOT / "scripts", self.folder / "scripts")
        # Only its functions: the last line would run a command.
        text = (ROOT / "dev").read_text(encoding="utf-8")
        self.assertTrue(text.endswith('\nmain "$@"\n'))
        (self.folder / "dev").write_text(text.removesuffix('main "$@"\n'), encoding="utf-8")

    def shell(self, script, **environment):
        environment = os.environ | {"KANDORA_FIXED_ADDRESSES": "1"} | environment
        process = subprocess.Popen(["bash", "-c", f"source ./dev; {script}"], cwd=self.folder, text=True,
                                   stdin=subprocess.PIPE, stdout=subprocess.PIPE, env=environment)
        self.addCleanup(self.end, process)
        return process

    @staticmethod
    def end(process):
        process.kill()
        process.wait()
        process.stdout.close()
        with contextlib.suppress(BrokenPipeError):
            process.stdin.close()

    def expect(self, process, line):
        self.assertEqual(process.stdout.readline(), line + "\n")

    @staticmethod
    def go_on(process):
        process.stdin.write("\n")
        process.stdin.flush()


class End(Shells):
    LONG = """trap finish EXIT; trap 'exit 143' TERM; exec 3>&1; work() { bash -c 'echo $$ >&3; exec sleep 1000'; }; """

    def expect_that_it_ends(self, process):
        started = int(process.stdout.readline())
        process.terminate()
        self.assertEqual(process.wait(60), 143)
        # Whoever takes its place as the parent may not have noticed yet.
        with contextlib.suppress(FileNotFoundError, ProcessLookupError):
            while "\nState:\tZ" not in pathlib.Path(f"/proc/{started}/status").read_text(encoding="utf-8"):
                pass

    def test_takes_along_what_runs_side_by_side(self):
        self.expect_that_it_ends(self.shell(self.LONG + "side_by_side work work one two"))

    def test_takes_along_what_a_step_compiles(self):
        self.expect_that_it_ends(self.shell(self.LONG + "build_step log Text work"))


class Lock(Shells):
    HOLDER = "take_lock; echo taken; read -r"

    def holder(self, script=HOLDER):
        process = self.shell(script)
        self.expect(process, "taken")
        return process

    def waiter(self, owner):
        process = self.shell(self.HOLDER)
        self.expect(process, f"Waiting for another ./dev (process {owner.pid}) to finish.")
        return process

    def test_is_waited_for(self):
        first = self.holder()
        second = self.waiter(first)
        self.go_on(first)
        self.expect(second, "taken")

    def test_is_free_when_only_what_its_owner_started_is_left(self):
        first = self.holder("take_lock; sleep 1000 & echo taken; echo $!; wait")
        left = int(first.stdout.readline())
        self.addCleanup(os.kill, left, signal.SIGKILL)
        second = self.waiter(first)
        first.kill()
        first.wait()
        self.expect(second, "taken")
        os.kill(left, 0)

    def test_is_that_of_the_file_that_is_there(self):
        first = self.holder('take_lock; echo taken; read -r; rm -rf "$build"')
        second = self.waiter(first)
        self.go_on(first)
        self.expect(second, "taken")
        self.waiter(second)


class Processors(Shells):
    PINNED = "use_one_processor; taskset -cp $$ | sed 's/.*: //'; read -r; leave_processor; echo left; read -r"

    def pinned(self):
        process = self.shell(self.PINNED)
        return process, int(process.stdout.readline())

    def test_are_taken_in_turn(self):
        allowed = os.sched_getaffinity(0)
        taken = [self.pinned()[1] for _ in range(2 * len(allowed))]
        self.assertEqual(sorted(taken), sorted([*allowed, *allowed]))

    def test_are_taken_again(self):
        first, processor = self.pinned()
        self.pinned()
        self.go_on(first)
        self.expect(first, "left")
        self.assertEqual(self.pinned()[1], processor)

    def test_are_all_there_for_what_asks_for_them(self):
        process = self.shell("taskset -cp $$; use_one_processor; taskset -cp $$", KANDORA_PROCESSORS="all")
        self.assertEqual(process.stdout.readline(), process.stdout.readline())
