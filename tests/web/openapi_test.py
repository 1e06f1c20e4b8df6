#!/usr/bin/env python3
"""Holds the description of the API against the modules and the server: the tables of methods, and
what they answer.

    openapi_test.py CMAKE BUILD_FOLDER
"""

import json
import os
import pathlib
import pwd
import subprocess
import sys
import tempfile
import time
import unittest
import urllib.error
import urllib.request

from jsonschema import Draft202012Validator, FormatChecker

CMAKE, BUILD = sys.argv[1:3]
TASKS = "KAVO.Core.TaskScheduler"
USER = pwd.getpwuid(os.geteuid()).pw_name
ACCOUNTS, LANGUAGES, RUNS, SCHEDULES, SHARES = (
    "KAVO.Appliance." + name for name in ("Account", "Language", "TaskRun", "Schedule", "Share"))
DIRECTLY = urllib.request.build_opener(urllib.request.ProxyHandler({}))

# Calls in their order, each with the code of the error that it answers, 0 for success. The requests
# of the first list agree with the description, those of the second do not.
GOOD = [
    (TASKS, 1, "list", {}, 0),
    (TASKS, 2, "create", {"type": "script", "name": "Hello", "enable": True,
                          "schedule": {"hour": 6, "minute": "15", "kept": [1]},
                          "extra": {"script": "echo hello", "kept": {"a": 1}}}, 0),
    (TASKS, 1, "create", {"type": "script", "owner": USER, "schedule": {"repeat_min": 5},
                          "extra": {"script": "exec sleep 60"}}, 0),
    (TASKS, 2, "create", {"type": "beep", "schedule": None, "extra": {"beep_duration": 1000}}, 0),
    (TASKS, 2, "create", {"type": "service", "enable": True, "schedule": {"hour": 23}, "extra": {
        "action": "stop", "services": [{"id": "Samba", "enable": True}]}}, 0),
    (TASKS, 2, "create", {"type": "recycle", "enable": None,
                          "schedule": {"type": "date", "repeat_date": "half_yearly"}, "extra": {
        "clean_share_policy": {"clean_all": False, "shares": ["Photos"]},
        "clean_file_policy": {"policy": "size", "size": 10, "sort_type": 1, "reserve_policy": {
            "size_greater_check": True, "size_greater": 1, "extension_check": True,
            "extension": [{"file_ext": "raw"}]}}, "enableRecycle": "select"}}, 0),
    (TASKS, 2, "create", {"type": "recycle", "schedule": {"type": "date", "date": "2020-02-29"},
                          "extra": {"clean_file_policy": {"policy": "time", "time": 30}}}, 0),
    (TASKS, 2, "create", {"type": "script", "owner": "nobody"}, 0),
    (TASKS, 2, "create", {"type": "beep", "id": 99}, 117),
    (TASKS, 2, "create", {"type": "service", "id": "99"}, 4801),
    (TASKS, 2, "create", {"type": "service", "extra": {"services": []}}, 0),
    (TASKS, 2, "create", {"type": "script", "schedule": {"timezone": "Mars/Olympus"}}, 117),
    (TASKS, 1, "create", {"type": "recycle", "extra": {
        "clean_share_policy": {"clean_all": False, "shares": []}}}, 117),
    *[(TASKS, 1, "list", {"sort_by": column, "sort_direction": "desc", "limit": "3"}, 0)
      for column in ("enable", "id", "type", "name", "app_name", "action", "next_trigger_time")],
    *[(TASKS, version, "get", {"id": task}, 0)
      for version in (1, 2) for task in (-1, *range(1, 9))],
    *[(TASKS, 2, "get", {"id": "-1", "type": form}, 0)
      for form in ("script", "beep", "service", "recycle", "power", "report", "custom")],
    (TASKS, 2, "get", {"id": 1, "type": "beep"}, 0),
    (TASKS, 2, "get", {"id": 1, "type": "service"}, 117),
    (TASKS, 2, "get", {"id": 99}, 4801),
    (TASKS, 1, "get", {"id": 99, "type": "script"}, 4801),
    (TASKS, 1, "set", {"id": 3, "name": "Beep", "extra": {"beep_duration": 30}}, 0),
    (TASKS, 2, "set", {"id": "6", "enable": True, "extra": {"clean_file_policy": {
        "policy": "any", "reserve_policy": {"size_greater_check": False}}}}, 0),
    (TASKS, 2, "get", {"id": 6}, 0),
    (TASKS, 2, "set", {"id": 99}, 4801),
    (TASKS, 1, "set_enable", {"status": [{"id": 1, "enable": False}]}, 0),
    (TASKS, 1, "set_enable", {"status": [{"id": 99, "enable": True}]}, 4801),
    (TASKS, 1, "run", {"task": 2}, 0),
    (TASKS, 1, "run", {"task": 1}, 0),
    (TASKS, 1, "run", {"task": [1, 99]}, 4803),
    (ACCOUNTS, 1, "list", {}, 0),
    (LANGUAGES, 1, "list", {}, 0),
    (SHARES, 1, "list", {}, 0),
    (SCHEDULES, 1, "preview", {"schedule": None, "count": "2"}, 0),
    (SCHEDULES, 1, "preview", {"schedule": {"timezone": "Europe/Berlin", "hour": "2"}}, 0),
    (SCHEDULES, 1, "timezones", {}, 0),
    (RUNS, 1, "list", {"limit": 1000, "offset": "0"}, 0),
    (RUNS, 1, "list", {"task": 2, "result": "ok"}, 0),
    (RUNS, 1, "last", {"tasks": [1, 2, 3], "revision": None}, 0),
    (RUNS, 1, "output", {"id": 1}, 0),
    (RUNS, 1, "output", {"id": 99}, 4801),
    (RUNS, 1, "stop", {"id": "99"}, 4801),
    (RUNS, 1, "stop", {"id": 1}, 0),
    (TASKS, 1, "delete", {"task": [8]}, 0),
    (TASKS, 1, "delete", {"task": 8}, 4802),
]
WRONG = [
    (TASKS, 1, "list", {"sort_by": 1, "limit": [1]}, 0),
    (TASKS, 2, "get", {}, 4800),
    (TASKS, 2, "get", {"id": "1.0"}, 4800),
    (TASKS, 1, "get", {"id": 1, "type": "unknown"}, 4800),
    (TASKS, 1, "create", {"type": "power"}, 4800),
    (TASKS, 2, "create", {"type": "script", "schedule": {"hour": 24}}, 117),
    (TASKS, 2, "create", {"type": "script", "schedule": {"week_day": ""}}, 117),
    (TASKS, 2, "create", {"type": "script", "schedule": []}, 500),
    (TASKS, 2, "create", {"type": "script", "extra": {"script": 5}}, 500),
    (TASKS, 2, "create", {"type": "script", "name": 5}, 117),
    (TASKS, 2, "create", {"type": "script", "enable": "yes"}, 500),
    (TASKS, 2, "create", {"type": "service", "extra": {"action": "pause"}}, 4800),
    (TASKS, 2, "create", {"type": "service", "extra": {"services": [{"id": "NTP"}]}}, 4800),
    (TASKS, 1, "set", {}, 4800),
    (TASKS, 1, "set_enable", {"status": {}}, 4800),
    (TASKS, 1, "set_enable", {"status": [{"id": 1}]}, 4800),
    (TASKS, 1, "run", {"task": "1"}, 4800),
    (TASKS, 1, "delete", {"task": [None]}, 4800),
    (SCHEDULES, 1, "preview", {}, 4800),
    (SCHEDULES, 1, "preview", {"schedule": {"minute": 60}}, 4800),
    (RUNS, 1, "list", {"result": "great"}, 4800),
    (RUNS, 1, "last", {"tasks": [0]}, 4800),
    (RUNS, 1, "output", {"id": 0}, 4800),
]


class OpenApiTest(unittest.TestCase):
    @classmethod
    def setUpClass(cls):
        folder = tempfile.TemporaryDirectory(prefix="kavo-test-")
        cls.addClassCleanup(folder.cleanup)
        cls.prefix = pathlib.Path(folder.name) / "usr/kavo"
        cls.environment = {**os.environ, "KAVO_ROOT": folder.name}
        subprocess.run([CMAKE, "--install", BUILD, "--prefix", "/usr/kavo"], check=True,
                       stdout=subprocess.DEVNULL, env={**os.environ, "DESTDIR": folder.name})
        photos = pathlib.Path(folder.name) / "volume1/Photos"
        photos.mkdir(parents=True)
        shares = pathlib.Path(folder.name) / "etc/kavo/shares.json"
        shares.write_text('{"shares": [{"name": "Photos", "path": "/volume1/Photos"}]}')
        cls.api = json.loads((cls.prefix / "share/openapi.json").read_text())
        scheduler = subprocess.Popen([cls.prefix / "bin/kavo-schedd"], env=cls.environment)
        cls.addClassCleanup(scheduler.wait)
        cls.addClassCleanup(scheduler.terminate)
        cls.wait_for_scheduler()
        cls.server = subprocess.Popen(
            [cls.prefix / "bin/kavo-webd", "--port", "0", "--print-link"], env=cls.environment,
            stdout=subprocess.PIPE, text=True)
        cls.addClassCleanup(cls.server.stdout.close)
        cls.addClassCleanup(cls.server.wait)
        cls.addClassCleanup(cls.server.terminate)

    @classmethod
    def wait_for_scheduler(cls):
        """Until tasks can be started."""
        address = cls.prefix.parents[1] / "var/lib/kavo/schedd.sock"
        deadline = time.monotonic() + 30
        while not address.is_socket():
            if time.monotonic() > deadline:
                raise TimeoutError("the scheduler does not come up")
            time.sleep(0.02)

    def validator(self, schema):
        # References are to the document's components, which are to be found from the root.
        return Draft202012Validator({"components": self.api["components"], "allOf": [schema]},
                                    format_checker=FormatChecker())

    def described(self):
        return {tuple(path.split("/")[2:]): item["post"] for path, item in self.api["paths"].items()
                if path.count("/") == 4}

    def kavo(self, *arguments, **options):
        return subprocess.run([self.prefix / "bin/kavo", *arguments], env=self.environment,
                              capture_output=True, text=True, check=False, **options)

    def call(self, api, version, method, parameters):
        """The answer, or None when an exception came out of the method."""
        done = self.kavo("call", api, str(version), method, "--json", "-",
                         input=json.dumps(parameters))
        return json.loads(done.stdout) if done.stdout else None

    def test_schemas_are_valid_and_what_they_refer_to_exists(self):
        for name, schema in self.api["components"]["schemas"].items():
            with self.subTest(name):
                Draft202012Validator.check_schema(schema)
        text = json.dumps(self.api)
        for part in text.split('"$ref": "')[1:]:
            place = self.api
            for key in part.split('"')[0].split("/")[1:]:
                self.assertIn(key, place, part[:80])
                place = place[key]

    def test_methods_are_those_of_the_modules(self):
        listed = self.kavo("call", "--list")
        self.assertEqual(listed.stderr, "")
        rows = {tuple(line.split()) for line in listed.stdout.splitlines()[1:]}
        self.assertEqual(set(self.described()), rows)

    def test_answers_and_requests_are_as_described(self):
        described = self.described()
        answered = set()
        for good, calls in ((True, GOOD), (False, WRONG)):
            for api, version, method, parameters, code in calls:
                operation = described[api, str(version), method]
                with self.subTest(method=method, version=version, parameters=parameters):
                    request = operation["requestBody"]["content"]["application/json"]["schema"]
                    self.assertEqual(good, self.validator(request).is_valid(parameters))
                    answer = self.call(api, version, method, parameters)
                    if answer is None:
                        self.assertEqual(code, 500)
                        continue
                    success = answer["success"]
                    self.assertEqual(0 if success else answer["error"]["code"], code, answer)
                    content = operation["responses"]["200"]["content"]
                    self.validator(content["application/json"]["schema"]).validate(answer)
                    if success:
                        answered.add((api, str(version), method))
        self.assertEqual(answered, set(described))

    def fetch(self, path, headers, body=None, status=200):
        """A request to the server; its answer, after it was held against the description."""
        data = None if body is None else json.dumps(body).encode()
        request = urllib.request.Request(self.address + path, data,
                                         {"Content-Type": "application/json", **headers})
        try:
            reply = DIRECTLY.open(request, timeout=30)
        except urllib.error.HTTPError as refusal:
            reply = refusal
        with reply:
            self.assertEqual(reply.status, status)
            answer = json.loads(reply.read())
            cookie = reply.headers.get("Set-Cookie", "").split(";")[0]
        responses = self.api["paths"][path]["get" if body is None else "post"]["responses"]
        response = responses.get(str(status), responses["default"])
        if "$ref" in response:
            response = self.api["components"]["responses"][response["$ref"].split("/")[-1]]
        self.validator(response["content"]["application/json"]["schema"]).validate(answer)
        return answer, cookie

    def test_answers_of_the_server_itself_are_as_described(self):
        link = next(line for line in self.server.stdout if "#sign-in=" in line).split()[-1]
        self.address, secret = link.split("/#sign-in=")
        called = f"/webapi/{TASKS}/1/list"
        self.fetch("/healthz", {})
        self.fetch("/webapi/session", {})
        self.fetch("/webapi/methods", {}, status=401)
        self.fetch("/webapi/sign-in", {}, {"link": "0" * len(secret)}, 401)
        answer, cookie = self.fetch("/webapi/sign-in", {}, {"link": secret})
        session = {"Cookie": cookie, "X-Kavo-Token": answer["data"]["token"]}
        self.fetch("/webapi/session", session)
        self.fetch("/webapi/methods", session)
        self.assertEqual(self.fetch("/webapi/openapi.json", session)[0], self.api)
        self.fetch(called, session, {})
        self.fetch(called, {"Cookie": cookie}, {}, 403)
        self.fetch(called, session, [], 400)
        self.fetch("/webapi/sign-out", session, {})
        self.fetch(called, session, {}, 401)


if __name__ == "__main__":
    unittest.main(argv=sys.argv[:1])
