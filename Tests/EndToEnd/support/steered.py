"""A program of this project that is steered by JSON lines on its standard input."""

import json
import pathlib
import subprocess
import threading
import time

# Seconds to wait for what must happen, also on a busy machine. Tests of a time limit measure it.
DEADLINE = 30.0


class SteeringError(AssertionError):
    """A steering command was refused, or something awaited did not happen."""


def wait_until(condition, what, deadline: float = DEADLINE):
    """Waits until `condition` returns a true value, and returns it. `what` is awaited: a text, or a
    function that returns one after the deadline."""
    end = time.monotonic() + deadline
    while True:
        over = time.monotonic() > end
        found = condition()
        if found:
            return found
        if over:
            raise SteeringError(f"not within {deadline} s: {what() if callable(what) else what}")
        time.sleep(0.005)


def end_process(process: subprocess.Popen) -> None:
    process.terminate()
    try:
        process.wait(5)
    except subprocess.TimeoutExpired:
        process.kill()
        process.wait()


def command_of(do: str, number: int | str, members: dict) -> dict:
    """A steering command. "_" stands for "-" in names; a member that is None is left out."""
    return {"do": do.replace("_", "-"), "id": number} | {
        name.replace("_", "-"): value for name, value in members.items() if value is not None}


class SteeredProcess:
    """Runs a program, sends it commands and collects its output. Every wait has a deadline."""

    def __init__(self, command: list, **popen):
        self.events: list[dict] = []
        self.name = pathlib.Path(str(command[0])).name
        self._arrived = threading.Condition()
        self._answers: dict[int, dict] = {}
        self._ended = False
        self._commands = 0
        self._errors = bytearray()
        self._process = subprocess.Popen(
            [str(part) for part in command],
            stdin=subprocess.PIPE,
            stdout=subprocess.PIPE,
            stderr=subprocess.PIPE,
            **popen,
        )
        self._reader = threading.Thread(target=self._read, daemon=True)
        self._errors_reader = threading.Thread(target=self._read_errors, daemon=True)
        self._reader.start()
        self._errors_reader.start()

    @property
    def pid(self) -> int:
        return self._process.pid

    @property
    def standard_error(self) -> str:
        return self._errors.decode(errors="replace")

    def is_running(self) -> bool:
        return self._process.poll() is None

    def send_signal(self, number: int) -> None:
        self._process.send_signal(number)

    def exit_code(self, deadline: float = DEADLINE) -> int:
        """Waits for the process to end; raises SteeringError if it does not."""
        try:
            code = self._process.wait(deadline)
        except subprocess.TimeoutExpired:
            raise SteeringError(f"{self.name} did not end within {deadline} s") from None
        self._reader.join(DEADLINE)
        self._errors_reader.join(DEADLINE)
        return code

    def end(self) -> int:
        """Ends the process if it still runs, and returns its exit code."""
        if self.is_running():
            self._process.terminate()
        try:
            return self.exit_code()
        except SteeringError:
            self._process.kill()
            self._process.wait()
            raise
        finally:
            for stream in (self._process.stdin, self._process.stdout, self._process.stderr):
                try:
                    stream.close()
                except BrokenPipeError:
                    pass

    # Steering

    def send_line(self, line: str | bytes) -> None:
        """Sends a line unchanged, whether it is a command or not."""
        self.send((line.encode() if isinstance(line, str) else line) + b"\n")

    def send(self, data: bytes) -> None:
        """Sends bytes unchanged. An answer without an id becomes an event "answer"."""
        self._process.stdin.write(data)
        self._process.stdin.flush()

    def close_input(self) -> None:
        self._process.stdin.close()

    def has_answered(self, command: int) -> bool:
        """Whether the answer that `answer` would return has come."""
        return command in self._answers

    def start_command(self, do: str, **members) -> int:
        """Sends a command and returns its id, for `answer`."""
        self._commands += 1
        try:
            self.send_line(json.dumps(command_of(do, self._commands, members)))
        except (BrokenPipeError, ValueError):
            raise SteeringError(f"{self.name} ended before {do}: {self.standard_error}") from None
        return self._commands

    def answer(self, command: int, deadline: float = DEADLINE) -> dict:
        """Waits for the answer to a command; raises SteeringError if it is an error."""
        self._await(lambda: command in self._answers, deadline, f"answer to command {command}")
        answer = self._answers.pop(command)
        if not answer["ok"]:
            raise SteeringError(f'{answer.get("do")}: {answer["error"]}')
        return answer

    def do(self, do: str, **members) -> dict:
        """Sends a command and returns its answer."""
        patience = DEADLINE + float(members.get("timeout") or 0)
        return self.answer(self.start_command(do, **members), patience)

    def wait(self, **members) -> dict:
        """Waits until all conditions hold."""
        return self.do("wait", **({"timeout": DEADLINE} | members))

    def wait_event(self, name: str, deadline: float = DEADLINE, **members) -> dict:
        """Waits for the first event with that name and these members, past ones included."""

        def find():
            for event in self.events:
                if event["event"] == name and members.items() <= event.items():
                    return event
            return None

        return self._await(find, deadline, f"event {name} {members or ''}")

    def _await(self, find, deadline: float, what: str):
        end = time.monotonic() + deadline
        with self._arrived:
            while not (found := find()):
                left = end - time.monotonic()
                if self._ended:
                    self._errors_reader.join(DEADLINE)
                    raise SteeringError(f"{self.name} ended before its {what}: {self.standard_error}")
                if left <= 0:
                    raise SteeringError(f"{self.name}: no {what} within {deadline} s")
                self._arrived.wait(left)
            return found

    def _read(self):
        for line in self._process.stdout:
            told = json.loads(line)
            with self._arrived:
                if "event" in told:
                    self.events.append(told)
                elif "id" in told:
                    self._answers[told["id"]] = told
                else:
                    self.events.append({"event": "answer"} | told)
                self._arrived.notify_all()
        with self._arrived:
            self._ended = True
            self._arrived.notify_all()

    def _read_errors(self):
        while block := self._process.stderr.read1(65536):
            self._errors += block
