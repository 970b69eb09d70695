//! A host in Rust: one call at its start, and whatever ends it becomes a report, on any thread. A panic ends in an exception of
//! the host's own choice. For 64 bits, with GNU's linker:
//!
//!     rustc --target x86_64-pc-windows-gnu -g -L lib/x64 main.rs
use std::ffi::c_void;
use std::ptr;

type Filter = extern "system" fn(*mut c_void) -> i32;
type Reporter = extern "C" fn(*mut c_void, *mut c_void);

#[link(name = "Wendax")]
extern "C" {
    fn WendaxCoverProcess(reporter: Option<Reporter>, context: *mut c_void) -> Option<Filter>;
}

#[link(name = "kernel32")]
extern "system" {
    fn RaiseException(code: u32, flags: u32, count: u32, parameters: *const usize);
}

/// A code of the host's own: nobody has caught the panic, nor will.
const PANIC: u32 = 0xE0000001;

fn report_panic(panic: &std::panic::PanicInfo) {
    eprintln!("{panic}");
    unsafe { RaiseException(PANIC, 1, 0, ptr::null()) }
}

#[inline(never)]
fn write_title(to: *mut u8) {
    unsafe { ptr::write_volatile(to, b'Q') }
}

#[inline(never)]
fn third(numbers: &[i32]) -> i32 {
    numbers[2]
}

fn main() {
    unsafe { WendaxCoverProcess(None, ptr::null_mut()) };
    std::panic::set_hook(Box::new(report_panic));
    let numbers: Vec<i32> = std::env::args().skip(1).map(|_| 1).collect();
    if numbers.is_empty() {
        write_title(ptr::null_mut()); // there is no room for the title: an access violation
    }
    println!("{}", third(&numbers)); // with fewer than three arguments a panic
}
