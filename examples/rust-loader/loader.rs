// SPDX-License-Identifier: Apache-2.0
//! Lists the modules of a board and loads a file into one of them, without any crate.
//!   loader FILE MODULE      such as: loader design.bit mwc4a:0/1

use std::ffi::{c_void, CStr, CString};
use std::os::raw::{c_char, c_int};
use std::process::ExitCode;
use std::ptr;

/// What bindgen makes of kvn.h.
#[allow(non_camel_case_types, non_upper_case_globals, dead_code)]
mod kvn {
    include!(concat!(env!("KVN_BINDINGS"), "/kvn.rs"));
}

/// Why a call failed.
struct Failure {
    status: u8,
    words: String,
}

/// A text of the library; empty where there is none.
fn text(pointer: *const c_char) -> String {
    if pointer.is_null() {
        return String::new();
    }
    // The library's texts end with a zero, and are valid until the next call.
    unsafe { CStr::from_ptr(pointer) }.to_string_lossy().into_owned()
}

fn c_string(text: &str) -> Result<CString, Failure> {
    CString::new(text).map_err(|error| Failure { status: kvn::kvn_status_KVN_USAGE as u8, words: error.to_string() })
}

/// A structure of the library that states its size and is zero otherwise.
macro_rules! sized {
    ($kind:ty) => {{
        let mut structure: $kind = unsafe { std::mem::zeroed() };
        structure.size = std::mem::size_of::<$kind>();
        structure
    }};
}

/// An open session; closed at the end of its scope.
struct Session {
    handle: *mut kvn::kvn_session,
}

impl Session {
    fn open() -> Result<Session, Failure> {
        let mut session = Session { handle: ptr::null_mut() };
        let status = unsafe { kvn::kvn_open(&mut session.handle) };
        session.demand(status)?;
        let status = unsafe { kvn::kvn_provider_open(session.handle, ptr::null()) };
        session.demand(status)?;
        Ok(session)
    }

    fn demand(&self, status: c_int) -> Result<(), Failure> {
        if status == 0 {
            return Ok(());
        }
        let lines = unsafe {
            [
                ("", text(kvn::kvn_error_text(self.handle))),
                ("why: ", text(kvn::kvn_error_why(self.handle))),
                ("try: ", text(kvn::kvn_error_remedy(self.handle))),
            ]
        };
        let known: Vec<String> =
            lines.iter().filter(|(_, text)| !text.is_empty()).map(|(label, text)| format!("{label}{text}")).collect();
        Err(Failure { status: status as u8, words: known.join("\n") })
    }

    /// Module and device of each slot whose device is known.
    fn list(&self, board_type: &str, board: c_int) -> Result<Vec<(String, String)>, Failure> {
        let board_type = c_string(board_type)?;
        let mut count = 0;
        self.demand(unsafe { kvn::kvn_list(self.handle, board_type.as_ptr(), board) })?;
        self.demand(unsafe { kvn::kvn_slot_count(self.handle, &mut count) })?;
        let mut modules = Vec::new();
        for index in 0..count {
            let mut slot = sized!(kvn::kvn_slot_info);
            self.demand(unsafe { kvn::kvn_slot(self.handle, index, &mut slot) })?;
            if !slot.device.is_null() {
                modules.push((text(slot.module), text(slot.device)));
            }
        }
        Ok(modules)
    }

    fn load(&self, path: &str, module: &str) -> Result<String, Failure> {
        let (path, module) = (c_string(path)?, c_string(module)?);
        let mut file = ptr::null_mut();
        self.demand(unsafe { kvn::kvn_file_open(self.handle, path.as_ptr(), &mut file) })?;
        let mut quarters: u64 = 0;
        let mut options = sized!(kvn::kvn_load_options);
        options.module = module.as_ptr();
        options.progress = Some(show_progress);
        options.user_data = &mut quarters as *mut u64 as *mut c_void;
        let mut record = sized!(kvn::kvn_record);
        let status = unsafe { kvn::kvn_load(self.handle, file, &options, &mut record) };
        unsafe { kvn::kvn_file_close(file) };
        self.demand(status)?;
        Ok(format!("{} runs {}", text(record.module), text(record.file)))
    }
}

impl Drop for Session {
    fn drop(&mut self) {
        unsafe { kvn::kvn_close(self.handle) };
    }
}

/// Called by the library while a load runs. It must not panic.
unsafe extern "C" fn show_progress(user_data: *mut c_void, progress: *const kvn::kvn_progress_info) -> c_int {
    let (quarters, progress) = (&mut *(user_data as *mut u64), &*progress);
    let now = if progress.total > 0 { progress.bytes * 4 / progress.total as u64 } else { 0 };
    if now > *quarters {
        *quarters = now;
        println!("{} %", 25 * now);
    }
    0 // anything else cancels the load
}

/// Type and number of the board of a name such as "mwc4a:0/1".
fn board_of(module: &str) -> Option<(&str, c_int)> {
    let (board_type, rest) = module.split_once(':')?;
    Some((board_type, rest.split_once('/')?.0.parse().ok()?))
}

fn run(path: &str, module: &str) -> Result<(), Failure> {
    let (board_type, board) = board_of(module).ok_or_else(|| Failure {
        status: kvn::kvn_status_KVN_USAGE as u8,
        words: format!("{module} is no name of a module"),
    })?;
    let session = Session::open()?;
    for (name, device) in session.list(board_type, board)? {
        println!("{name} {device}");
    }
    println!("{}", session.load(path, module)?);
    Ok(())
}

fn main() -> ExitCode {
    let arguments: Vec<String> = std::env::args().collect();
    if arguments.len() != 3 {
        eprintln!("usage: loader FILE MODULE");
        return ExitCode::from(kvn::kvn_status_KVN_USAGE as u8);
    }
    match run(&arguments[1], &arguments[2]) {
        Ok(()) => ExitCode::SUCCESS,
        Err(failure) => {
            eprintln!("{}", failure.words);
            ExitCode::from(failure.status)
        }
    }
}
