#!/usr/bin/env python3
"""Signs in through a real browser: Debian's chromium, headless, driven over its DevTools pipe.

tessary-server holds an account; `tessary account sign-in` opens its connect page through
$BROWSER (a script that hands the address to this test), the test fills in the form in
chromium and approves, and the browser's redirect to the app's loopback listener ends the
sign-in. Then the same with Deny. Prints "SKIP: ..." and passes when chromium cannot start.

Usage: browser_sign_in_test.py TESSARY TESSARY_SERVER
"""
import json
import os
import shutil
import stat
import subprocess
import sys
import tempfile
import time

EMAIL = "reader@example.com"
PASSWORD = "correct horse battery"


class Browser:
    """Chromium with the DevTools protocol on file descriptors 3 and 4 (NUL-separated JSON)."""

    def __init__(self, profile):
        to_browser_read, self.to_browser = os.pipe()
        self.from_browser, from_browser_write = os.pipe()
        keep_in, keep_out = os.dup(to_browser_read), os.dup(from_browser_write)

        def wire():
            os.dup2(keep_in, 3)
            os.dup2(keep_out, 4)

        executable = shutil.which("chromium") or shutil.which("chromium-browser")
        if not executable:
            raise RuntimeError("chromium is not installed")
        self.process = subprocess.Popen(
            [executable, "--headless", "--no-sandbox", "--disable-gpu", "--disable-quic", "--no-first-run",
             "--disable-background-networking", "--disable-component-update", "--disable-sync",
             "--remote-debugging-pipe", f"--user-data-dir={profile}", "about:blank"],
            preexec_fn=wire, pass_fds=(3, 4), stdout=subprocess.DEVNULL, stderr=subprocess.DEVNULL)
        for fd in (to_browser_read, from_browser_write, keep_in, keep_out):
            os.close(fd)
        self.buffer = b""
        self.next_id = 0
        self.session = None

    def call(self, method, params=None, session=True, timeout=20):
        self.next_id += 1
        message = {"id": self.next_id, "method": method, "params": params or {}}
        if session and self.session:
            message["sessionId"] = self.session
        os.write(self.to_browser, json.dumps(message).encode() + b"\0")
        deadline = time.time() + timeout
        while time.time() < deadline:
            reply = self.read(deadline)
            if reply.get("id") == self.next_id:
                if "error" in reply:
                    raise RuntimeError(f"{method}: {reply['error']}")
                return reply.get("result", {})
        raise TimeoutError(f"{method} got no answer")

    def read(self, deadline):
        while b"\0" not in self.buffer:
            if time.time() > deadline or self.process.poll() is not None:
                raise TimeoutError("the browser stopped answering")
            chunk = os.read(self.from_browser, 65536)
            if not chunk:
                raise TimeoutError("the browser closed its pipe")
            self.buffer += chunk
        message, self.buffer = self.buffer.split(b"\0", 1)
        return json.loads(message)

    def open_page(self):
        target = self.call("Target.createTarget", {"url": "about:blank"}, session=False)["targetId"]
        self.session = self.call("Target.attachToTarget", {"targetId": target, "flatten": True},
                                 session=False)["sessionId"]

    def evaluate(self, expression):
        result = self.call("Runtime.evaluate", {"expression": expression, "returnByValue": True})
        return result.get("result", {}).get("value")

    def wait_for(self, expression, timeout=20):
        deadline = time.time() + timeout
        while time.time() < deadline:
            if self.evaluate(expression):
                return
            time.sleep(0.1)
        raise TimeoutError(f"never true: {expression}")

    def close(self):
        self.process.kill()
        self.process.wait()


def start_server(server, work):
    password_file = os.path.join(work, "password")
    with open(password_file, "w") as f:
        f.write(PASSWORD + "\n")
    subprocess.run([server, "account", "add", EMAIL, "--data-dir", f"{work}/server", "--password-file",
                    password_file], check=True, stdout=subprocess.DEVNULL)
    process = subprocess.Popen([server, "serve", "--no-demo", "--port", "0", "--data-dir", f"{work}/server"],
                               stdout=subprocess.PIPE, text=True)
    line = process.stdout.readline().strip()
    if not line.startswith("listening on http://127.0.0.1:"):
        raise RuntimeError(f"tessary-server did not start: {line!r}")
    return process, line.removeprefix("listening on ")


def sign_in(app, browser, url, work, data_dir, decision):
    """Runs `tessary account sign-in` and answers the connect page with `decision`."""
    handed = os.path.join(work, f"url-{decision}")
    opener = os.path.join(work, "browser.sh")
    with open(opener, "w") as f:
        f.write(f'#!/bin/sh\nprintf "%s" "$1" > "$TESSARY_TEST_URL_FILE"\n')
    os.chmod(opener, 0o755)
    env = dict(os.environ, TESSARY_DATA_DIR=data_dir, TESSARY_SESSION_API=url, TESSARY_WEB=url,
               TESSARY_API=url, BROWSER=opener, TESSARY_TEST_URL_FILE=handed)
    process = subprocess.Popen([app, "account", "sign-in"], env=env, stdout=subprocess.PIPE,
                               stderr=subprocess.PIPE, text=True)
    deadline = time.time() + 20
    while not os.path.exists(handed) or not open(handed).read():
        if time.time() > deadline or process.poll() is not None:
            process.kill()
            raise RuntimeError(f"the app never opened the browser: {process.communicate()}")
        time.sleep(0.05)
    connect = open(handed).read()
    browser.call("Page.navigate", {"url": connect})
    browser.wait_for("!!document.querySelector('#email')")
    browser.evaluate(f"document.querySelector('#email').value = {json.dumps(EMAIL)};"
                     f"document.querySelector('#password').value = {json.dumps(PASSWORD)};"
                     f"document.querySelector('button[name=decision][value={decision}]').click(); true")
    out, err = process.communicate(timeout=30)
    # The browser ends on the app's own result page.
    browser.wait_for("location.pathname === '/callback' && document.readyState === 'complete'")
    page = browser.evaluate("document.querySelector('h1').textContent")
    return process.returncode, out, err, page


def main():
    app, server = sys.argv[1], sys.argv[2]
    work = tempfile.mkdtemp()
    server_process = browser = None
    try:
        server_process, url = start_server(server, work)
        try:
            browser = Browser(os.path.join(work, "profile"))
            browser.call("Browser.getVersion", session=False)
            browser.open_page()
        except (RuntimeError, TimeoutError, OSError) as error:
            print(f"SKIP: chromium could not start: {error}")
            return 0

        data = os.path.join(work, "approve")
        code, out, err, page = sign_in(app, browser, url, work, data, "approve")
        assert code == 0, f"sign-in failed ({code}): {out} {err}"
        assert out.strip().endswith(f"signed in as {EMAIL}"), out
        assert page == "You're connected", page
        mode = stat.S_IMODE(os.stat(os.path.join(data, "account.json")).st_mode)
        assert mode == 0o600, oct(mode)
        status = subprocess.run([app, "account", "status"], env=dict(os.environ, TESSARY_DATA_DIR=data),
                                capture_output=True, text=True, check=True)
        assert status.stdout.strip() == f"signed in as {EMAIL}", status.stdout

        data = os.path.join(work, "deny")
        code, out, err, page = sign_in(app, browser, url, work, data, "deny")
        assert code == 1, f"a denied sign-in ended with {code}"
        assert err.strip() == "Sign-in was cancelled.", err
        assert page == "Sign-in cancelled", page
        assert not os.path.exists(os.path.join(data, "account.json"))
        print("browser sign-in: approve and deny passed")
        return 0
    finally:
        if browser:
            browser.close()
        if server_process:
            server_process.kill()
            server_process.wait()
        shutil.rmtree(work, ignore_errors=True)


if __name__ == "__main__":
    sys.exit(main())
